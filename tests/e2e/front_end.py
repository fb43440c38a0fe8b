"""A front end without a window: sends requests to the engine, and replaces whatever a copy asks about. As a program
of its own, sends the request in its first argument, says so, and waits for the answer:
    front_end.py REQUEST"""
import os
import select
import struct
import sys
import threading
import time
from xml.sax.saxutils import escape

BASE = "/tmp/ZEV_KorvaleMarrowglint"
MARKER = bytes.fromhex("c9bb29f90001")
DONE = "<ZEVMSG><T1>NP_Exe_Result_Success</T1></ZEVMSG>"
REPLACE_ALL = b"<ZEVMSG><NP_Copy_Confirmation_Replace_All>Y</NP_Copy_Confirmation_Replace_All></ZEVMSG>"
GO_ON = b"<ZEVMSG><NP_User_Click_Cancel>N</NP_User_Click_Cancel></ZEVMSG>"


def command(name, fields=""):
    return f"<ZEVMSG><NP_Cmd>NP_Cmd_{name}</NP_Cmd>{fields}</ZEVMSG>"


def both(plain, coded, text):
    return f"<{plain}>{escape(text)}</{plain}><{coded}>{text.encode('utf-16-le').hex().upper()}</{coded}>"


def copy_request(upwards, *pairs):
    """Each pair is a path of this machine and one of the remote computer; one of them is the target's folder."""
    records = "".join("<Line>" + both("T9", "TB", local) + both("TA", "TC", remote) + "</Line>"
                      for local, remote in pairs)
    return command("Local_To_Remote" if upwards else "Remote_to_Local", f"<T8>{records}</T8>")


def frame(body):
    return struct.pack("<I", len(body)) + body


class FrontEnd:
    def __init__(self):
        """Holds the call-backs' own end, so that none of them is lost. One front end at a time."""
        for end in ("IN", "OUT"):
            if not os.path.exists(f"{BASE}Notify_{end}"):
                os.mkfifo(f"{BASE}Notify_{end}", 0o666)
        self.notify_in = os.open(f"{BASE}Notify_IN", os.O_RDWR | os.O_NONBLOCK)
        self.messages, self.call_backs, self.ending = [], 0, False
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def close(self):
        if not self.ending:
            self.ending = True
            self.thread.join()
            os.close(self.notify_in)

    @staticmethod
    def read(fd, size, end):
        data = b""
        while len(data) < size:
            if not select.select([fd], [], [], max(0, end - time.monotonic()))[0]:
                return None
            piece = os.read(fd, size - len(data))
            if not piece:
                return None
            data += piece
        return data

    def serve(self):
        while not self.ending:
            header = self.read(self.notify_in, 4, time.monotonic() + 0.1)
            if header is None:
                continue
            body = self.read(self.notify_in, struct.unpack("<I", header)[0], time.monotonic() + 3) or b""
            self.call_backs += 1
            if b"Show_Message_Box" in body:
                self.messages.append(body)
            try:
                out = os.open(f"{BASE}Notify_OUT", os.O_WRONLY | os.O_NONBLOCK)
            except OSError:  # an engine that has died meanwhile
                continue
            os.write(out, frame(REPLACE_ALL if b"Confirmation" in body else GO_ON))
            os.close(out)

    def send(self, request, limit=5):
        """Sends a request; both its ends, which stay open until the answer was read. The answer comes from the second."""
        end = time.monotonic() + limit
        while True:
            try:
                fd = os.open(BASE + "_IN", os.O_WRONLY | os.O_NONBLOCK)
                break
            except OSError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.002)
        out = os.open(BASE + "_OUT", os.O_RDONLY | os.O_NONBLOCK)
        os.set_blocking(fd, True)
        os.write(fd, frame(MARKER + request.encode()))
        return fd, out

    @staticmethod
    def leave(ends):
        for fd in ends:
            os.close(fd)

    def ask(self, request, limit=30):
        """The answer's text; None without one in time."""
        ends = self.send(request)
        out = ends[1]
        try:
            end = time.monotonic() + limit
            poller = select.poll()
            poller.register(out, select.POLLIN)
            poller.poll(limit * 1000)
            header = self.read(out, 4, end)
            body = header and self.read(out, struct.unpack("<I", header)[0], end)
            return None if body is None else body.decode()
        finally:
            self.leave(ends)


if __name__ == "__main__":
    front_end = FrontEnd()
    _, answers = front_end.send(sys.argv[1])
    print("sent", flush=True)
    front_end.read(answers, 1 << 20, time.monotonic() + 60)
