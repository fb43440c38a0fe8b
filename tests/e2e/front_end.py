"""A front end without a window: sends requests to the engine, and replaces whatever a copy asks about."""
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


class FrontEnd:
    def __init__(self):
        """Answers call-backs until it is closed. One front end at a time."""
        make_fifos(NOTIFY)
        self.ending = False
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def close(self):
        self.ending = True
        self.thread.join()

    def serve(self):
        while not self.ending:
            question = self.next_question()
            if not question:
                continue
            answer = frame(self.reply(question))
            try:  # with IN closed: nobody shall ask again before this answer has been closed
                with open(open_writer(NOTIFY + "_OUT", limit=0.1), "wb", buffering=0) as out:
                    out.write(answer)
            except OSError:  # an engine that has died meanwhile
                continue

    def reply(self, question):
        return REPLACE_ALL if b"Confirmation" in question else GO_ON

    def next_question(self):
        with open(open_reader(NOTIFY + "_IN"), "rb", buffering=0) as notify_in:
            while not self.ending:
                if readable(notify_in.fileno(), 0.02):
                    return read_frame(notify_in.fileno(), time.monotonic() + 3)
        return None

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
