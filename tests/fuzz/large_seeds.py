"""Seeds that are large or deep, for what size and depth alone do: large_seeds.py FOLDER"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "e2e"))
from common import command, frame, message  # noqa: E402

LINES = 3000
DEPTH = 1500
ROW = "<Line><TA>{0}</TA><TF>{1}</TF><TY>5</TY><TZ2>5 bytes</TZ2><TO>1600000000</TO><TH>0</TH></Line>"
ITEM = "<Line><T9>{0}</T9><TB>{1}</TB><TA>C:\\</TA><TC>43003A005C00</TC></Line>"
HEX = "78003A00"

rows = "".join(ROW.format(f"name {number}", HEX) for number in range(LINES))
items = "".join(ITEM.format(f"/name {number}", HEX) for number in range(LINES))
listing = message("<T1>NP_Exe_Result_Success</T1>" + rows)
deep = b"<A>" * DEPTH + b"</A>" * DEPTH
deep_path = "/x" * DEPTH
long_name = "n" * 100_000
long_row = message("<T1>NP_Exe_Result_Success</T1>" + ROW.format(long_name, HEX * 20_000))
many_attributes = b"<A " + b" ".join(b'a%d="1"' % number for number in range(LINES)) + b"/>"
operations = b"\n".join(b"g/ZEVMSG/A%d|text" % number for number in range(30))

SEEDS = {
    "answers": {"listing": listing, "deep": deep, "long_row": long_row, "lines": message(ROW.format("\n" * 20_000, ""))},
    "call_backs": {"question": command("Get_Confirmation_For_Copy", f"<NP_Copy_Confirmation_Message>{long_name}"
                                       "</NP_Copy_Confirmation_Message>"), "deep": deep,
                   "long": bytes([1, 3, 200, 255, 0, 9, 9, 9]) + frame(listing),
                   "cut": b"\x80" * 8 + frame(listing, 1 << 31)},
    "document": {"deep": deep, "deep_edit": deep + b"\n" + operations, "wide": listing, "attributes": many_attributes,
                 "open": b"<A>" * 20_000, "entities": b"<A>" + b"&amp;" * 20_000 + b"</A>"},
    "exchanges": {"long": frame(listing), "cut": frame(listing, 1 << 30), "padded": frame(message("x") + b"\0" * 100_000)},
    "names": {"deep": deep_path.encode(), "long": long_name.encode(), "dots": b"/.." * DEPTH, "hex": HEX.encode() * 10_000,
              "digits": b"9" * 50_000},
    "requests": {"copy": command("Local_To_Remote", "<T8>" + items + "</T8>"), "deep": deep,
                 "rename": command("Rename", f"<T5>C:{deep_path}</T5><T6>{long_name}</T6>")},
    "trash": {"longest": ("ü" * 127).encode(), "bytes": bytes(range(128, 256)) + bytes(range(1, 47))},
    "uri_lists": {"many": b"".join(f"file:///a%20b/{number}\r\n".encode() for number in range(LINES)),
                  "long": b"file:///" + b"%41" * 30_000},
}

for target, seeds in SEEDS.items():
    os.makedirs(os.path.join(sys.argv[1], target), exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(sys.argv[1], target, name), "wb") as file:
            file.write(data)
