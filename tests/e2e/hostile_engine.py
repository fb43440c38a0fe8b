"""A link engine that lies. It speaks the pipes by itself, sharing no code with either program: honest answers by
default, and for one command at a time whatever bytes a case wants written, in whatever order and timing."""
import os
import re
import select
import struct
import threading
import time
from xml.sax.saxutils import escape

BASE = "/tmp/ZEV_KorvaleMarrowglint"
MARKER = bytes.fromhex("c9bb29f90001")
OK = "<T1>NP_Exe_Result_Success</T1>"


def hex_name(text):
    return text.encode("utf-16-le").hex().upper()


def message(inner):
    return f"<ZEVMSG>{inner}</ZEVMSG>".encode("utf-8", "surrogateescape")


def row(name, kind="0", modified="1600000000", extra=""):
    return (f"<Line><TA>{escape(name)}</TA><TF>{hex_name(name)}</TF><TY>5</TY><TZ2>5 bytes</TZ2><TO>{modified}</TO>"
            f"<TR>{modified}</TR><TU>{modified}</TU><TH>{kind}</TH>{extra}</Line>")


def listing(*rows):
    return message(OK + "".join(rows))


def frame(body, length=None):
    return struct.pack("<I", len(body) if length is None else length) + body


HONEST_ROWS = ["honest folder", "honest.txt"]
HONEST = {
    "Get_File_List": listing(row("honest folder", "1"), row("honest.txt")),
    "Get_Driver_List": message(OK + f"<Line><TD>3</TD><TA>C:\\</TA><TF>{hex_name('C:' + chr(92))}</TF></Line>"),
    "Get_Remote_Special_Path": message(f"<TK1>{hex_name('C:' + chr(92) + 'Desktop')}</TK1>"),
    "Check_Remote_Online": message(OK + "<NP_Cmd_Remote_Is_Online>Y</NP_Cmd_Remote_Is_Online>"),
    "Check_Connection_Status": message("<NP_Connection_Local_Device_On>Y</NP_Connection_Local_Device_On>"
                                       "<NP_Connection_Device_On>Y</NP_Connection_Device_On>"
                                       "<NP_Connection_Application_On>Y</NP_Connection_Application_On>"),
}


class Answer:
    """What a case writes: pieces of bytes; numbers between them are pauses in seconds; `hold` keeps OUT open
    without writing on until the case ends."""

    def __init__(self, *pieces, hold=False, open_out=True):
        self.pieces, self.hold, self.open_out = pieces, hold, open_out


def whole(body):
    return Answer(frame(body))


class HostileEngine:
    def __init__(self, case_command="Get_File_List"):
        self.case_command, self.case = case_command, None
        self.served = 0  # requests that met the case
        self.ending = False
        self.lock = threading.Lock()
        self.make_pipes()
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def make_pipes(self):
        for end in ("_IN", "_OUT"):
            if not os.path.lexists(BASE + end):
                os.mkfifo(BASE + end, 0o600)

    def lie(self, answer):
        with self.lock:
            self.case, self.served = answer, 0

    def be_honest(self):
        self.lie(None)

    def stop(self):
        self.ending = True
        self.thread.join(10)

    def open_read(self):
        try:
            return os.open(BASE + "_IN", os.O_RDONLY | os.O_NONBLOCK)
        except OSError:
            time.sleep(0.05)  # a case took the pipe away
            return None

    def serve(self):
        fd = None
        while not self.ending:
            if fd is None:
                fd = self.open_read()
                continue
            request = self.read_request(fd)
            if request is None:
                continue
            os.close(fd)
            fd = None
            if request:
                self.answer(request)
        if fd is not None:
            os.close(fd)

    def read_request(self, fd):
        """None while nothing comes; empty when a client vanished or the pipe was replaced."""
        data, wanted = b"", None
        while wanted is None or len(data) < wanted:
            ready, _, _ = select.select([fd], [], [], 0.2)
            if not ready:
                try:
                    same = os.fstat(fd).st_ino == os.stat(BASE + "_IN").st_ino
                except OSError:
                    same = False
                if self.ending or not same:
                    return b""
                if not data:
                    return None
                continue
            piece = os.read(fd, 65536)
            if not piece:
                return b""
            data += piece
            if wanted is None and len(data) >= 4:
                wanted = 4 + struct.unpack("<I", data[:4])[0]
        return data[10:]

    def answer(self, request):
        found = re.search(rb"<NP_Cmd>NP_Cmd_(\w+)</NP_Cmd>", request)
        command = found.group(1).decode() if found else ""
        with self.lock:
            case = self.case if command == self.case_command else None
        answer = case or whole(HONEST.get(command, message(OK)))
        try:
            if answer.open_out:
                self.write(answer, case)
        except OSError:
            pass
        if case:
            self.served += 1

    def write(self, answer, case):
        end = time.monotonic() + 5
        while True:
            try:
                fd = os.open(BASE + "_OUT", os.O_WRONLY | os.O_NONBLOCK)
                break
            except OSError:
                if self.ending or time.monotonic() > end:
                    raise
                time.sleep(0.005)
        os.set_blocking(fd, True)
        try:
            for piece in answer.pieces:
                if isinstance(piece, bytes):
                    while piece:
                        piece = piece[os.write(fd, piece):]
                else:
                    time.sleep(piece)
            if answer.hold:
                self.served += 1
                while self.case is case and not self.ending:
                    poller = select.poll()
                    poller.register(fd, 0)
                    if poller.poll(50):  # the reader has gone
                        break
        finally:
            os.close(fd)


def call_back(body, marker=MARKER, limit=10, read=True):
    """One call-back to the window; its answer's text, or None when there was none in time."""
    end = time.monotonic() + limit
    in_fd = out_fd = None
    try:
        while True:
            try:
                in_fd = os.open(BASE + "Notify_IN", os.O_WRONLY | os.O_NONBLOCK)
                break
            except OSError:
                if time.monotonic() > end:
                    return None
                time.sleep(0.001)
        out_fd = os.open(BASE + "Notify_OUT", os.O_RDONLY | os.O_NONBLOCK)
        os.set_blocking(in_fd, True)
        data = frame(marker + body)
        while data:
            data = data[os.write(in_fd, data):]
        os.close(in_fd)
        in_fd = None
        got, opened = b"", False
        while read and time.monotonic() < end:
            ready, _, _ = select.select([out_fd], [], [], 0.2)
            try:
                piece = os.read(out_fd, 1 << 20) if ready else None
            except BlockingIOError:  # the end of the round before was seen, and this one has just begun
                piece = None
            if piece:
                got, opened = got + piece, True
                if b"\0" in got[4:] or (len(got) >= 4 and len(got) >= 4 + struct.unpack("<I", got[:4])[0]):
                    return got[4:].split(b"\0", 1)[0]
            elif piece == b"":
                if opened:
                    return got[4:].split(b"\0", 1)[0]
                time.sleep(0.002)
        return None
    except BrokenPipeError:
        return None
    finally:
        for fd in (in_fd, out_fd):
            if fd is not None:
                os.close(fd)
