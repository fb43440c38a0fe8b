"""A front end without a window: sends requests to the engine, and replaces whatever a copy asks about."""
import contextlib
import os
import threading
import time

from common import (BASE, LIMIT, MARKER, NOTIFY, both, command, frame, make_fifos, message, open_reader, open_writer,
                    read_answer, read_frame, readable, write_all)

DONE = message("<T1>NP_Exe_Result_Success</T1>")
REPLACE_ALL = message("<NP_Copy_Confirmation_Replace_All>Y</NP_Copy_Confirmation_Replace_All>")
GO_ON = message("<NP_User_Click_Cancel>N</NP_User_Click_Cancel>")


def copy_request(upwards, local, remote):
    """One of the two paths is the target's folder."""
    record = "<Line>" + both("T9", "TB", local) + both("TA", "TC", remote) + "</Line>"
    return command("Local_To_Remote" if upwards else "Remote_to_Local", f"<T8>{record}</T8>")


class PipeServer:
    """Answers what is asked over a pair of pipes, on a thread of its own, until it is closed."""

    def __init__(self, base):
        self.base, self.ending = base, False
        make_fifos(base)
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def close(self):
        self.ending = True
        self.thread.join()

    def serve(self):
        while not self.ending:
            with contextlib.suppress(OSError):  # a client or a pipe that has gone meanwhile
                request = self.next_request(self.base + "_IN")
                if request:
                    self.answer(request)
                    continue
            time.sleep(0.002)

    def next_request(self, path):
        """With IN closed at its end: nobody shall ask again before the answer has been closed."""
        with open(open_reader(path), "rb", buffering=0) as pipe:
            while not self.ending and os.path.samestat(os.fstat(pipe.fileno()), os.stat(path)):
                if readable(pipe.fileno(), 0.02):
                    return read_frame(pipe.fileno(), time.monotonic() + 5)
        return None


class FrontEnd(PipeServer):
    def __init__(self):
        super().__init__(NOTIFY)

    def answer(self, question):
        answer = frame(self.reply(question))
        with open(open_writer(NOTIFY + "_OUT", limit=0.1), "wb", buffering=0) as out:
            out.write(answer)

    def reply(self, question):
        return REPLACE_ALL if b"Confirmation" in question else GO_ON

    @staticmethod
    def send(request):
        """Both ends, which stay open until the answer was read. It comes from the second."""
        ends = open_writer(BASE + "_IN"), open_reader(BASE + "_OUT")
        write_all(ends[0], frame(MARKER + request))
        return ends

    @staticmethod
    def leave(ends):
        for fd in ends:
            os.close(fd)

    def ask(self, request, limit=LIMIT):
        """The answer's text; None without one in time."""
        ends = self.send(request)
        try:
            return read_answer(ends[1], time.monotonic() + limit)
        finally:
            self.leave(ends)
