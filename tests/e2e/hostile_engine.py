"""A link engine that lies. It speaks the pipes by itself, sharing no code with either program: honest answers by
default, and for one command at a time whatever bytes a case wants written, in whatever order and timing."""
import contextlib
import os
import re
import select

from common import BASE, MARKER, OK, both, frame, hex_name, message, open_writer, write_all
from front_end import PipeServer


def row(name, kind="0"):
    times = "".join(f"<{tag}>1600000000</{tag}>" for tag in ("TO", "TR", "TU"))
    return f"<Line>{both('TA', 'TF', name)}<TY>5</TY><TZ2>5 bytes</TZ2>{times}<TH>{kind}</TH></Line>"


def listing(*rows):
    return message(OK + "".join(rows))


HONEST_ROWS = ["honest folder", "honest.txt"]
HONEST = {
    "Get_File_List": listing(row("honest folder", "1"), row("honest.txt")),
    "Get_Driver_List": message(OK + "<Line><TD>3</TD>" + both("TA", "TF", "C:\\") + "</Line>"),
    "Get_Remote_Special_Path": message(f"<TK1>{hex_name('C:' + chr(92) + 'Desktop')}</TK1>"),
    "Check_Remote_Online": message(OK + "<NP_Cmd_Remote_Is_Online>Y</NP_Cmd_Remote_Is_Online>"),
    "Check_Connection_Status": message("".join(f"<NP_Connection_{what}_On>Y</NP_Connection_{what}_On>"
                                               for what in ("Local_Device", "Device", "Application"))),
}


class Answer:
    """What a case writes, piece by piece; `hold` keeps OUT open without writing on until the case ends."""

    def __init__(self, *pieces, hold=False, open_out=True):
        self.pieces, self.hold, self.open_out = pieces, hold, open_out


def whole(body):
    return Answer(frame(body))


class HostileEngine(PipeServer):
    def __init__(self, test):
        self.case = None  # the answer to Get_File_List
        self.served = 0  # requests that met the case
        super().__init__(BASE)
        test.addCleanup(self.close)

    def lie(self, answer):
        self.case, self.served = answer, 0

    def answer(self, request):
        name = re.search(rb"<NP_Cmd>NP_Cmd_(\w+)</NP_Cmd>", request[len(MARKER):]).group(1).decode()
        case = self.case if name == "Get_File_List" else None
        answer = case or whole(HONEST.get(name, message(OK)))
        with contextlib.suppress(OSError):
            if answer.open_out:
                self.write(answer, case)
        if case and case is self.case:
            self.served += 1

    def write(self, answer, case):
        fd = open_writer(BASE + "_OUT", leave=lambda: self.ending)
        try:
            for piece in answer.pieces:
                write_all(fd, piece)
            self.served += answer.hold
            reader = select.poll()
            reader.register(fd, 0)
            while answer.hold and self.case is case and not self.ending and not reader.poll(50):
                pass
        finally:
            os.close(fd)
