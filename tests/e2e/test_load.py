"""A thousand listings and ten thousand call-backs leave both programs as large as they were."""
import os
import subprocess
import time

from desktop import BUILD, SLOW, WINDOW, DesktopTest, main, wait_for
from front_end import FrontEnd, both, command
from hostile_engine import HostileEngine, call_back, listing, message, row, whole

ROWS = 100
LISTINGS, CALL_BACKS = 1000 // SLOW, 10_000 // SLOW


def size_of(process):
    """Resident memory in KiB, and open descriptors."""
    with open(f"/proc/{process.pid}/status") as file:
        resident = next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))
    return resident, len(os.listdir(f"/proc/{process.pid}/fd"))


class Load(DesktopTest):
    def repeat(self, process, times, action):
        """After the first tenth nothing may grow any more."""
        start = None
        for number in range(times):
            action()
            if number == times // 10:
                start = size_of(process)
        wait_for(lambda: size_of(process)[1] <= start[1], what=f"no more descriptors than {start[1]}")
        if SLOW == 1:  # a sanitizer keeps what is freed
            self.assertLess(size_of(process)[0] - start[0], 2048, f"KiB more after {times} times")

    def test_listings_of_the_engine(self):
        for number in range(ROWS):
            open(os.path.join(self.desktop.remote, f"file {number}"), "w").close()
        self.desktop.start_engine()
        front_end = FrontEnd()
        self.addCleanup(front_end.close)
        request = command("Get_File_List", both("TG", "TF", "C:\\"))
        self.repeat(self.desktop.engine, LISTINGS,
                    lambda: self.assertEqual(front_end.ask(request).count("<Line>"), ROWS))

    def focus_remote_list(self):
        def focused():
            found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Relay Hub$",
                                    "getwindowgeometry", "--shell"], capture_output=True, text=True).stdout
            box = dict(line.split("=") for line in found.split() if "=" in line)
            if box:
                x, y = (int(box[at]) + int(box[size]) * 3 // 4 for at, size in (("X", "WIDTH"), ("Y", "HEIGHT")))
                self.desktop.xdo("mousemove", x, y, "click", 1)
            return box
        wait_for(focused, what="the remote list")

    def test_window(self):
        d = self.desktop
        hostile = HostileEngine()
        self.addCleanup(hostile.stop)
        hostile.lie(whole(listing(*(row(f"file {number}") for number in range(ROWS)))))
        d.env["GTK_MODULES"] = ""  # the accessibility bridge keeps something for each row that ever was
        d.window = d.spawn([WINDOW], cwd=BUILD)
        wait_for(lambda: hostile.served, 20, what="the first listing")

        def reload():
            served = hostile.served

            def asked():  # a key that comes while the one before is still being served is lost
                d.xdo("key", "F5")
                end = time.monotonic() + 0.3 * SLOW
                while time.monotonic() < end and hostile.served == served:
                    time.sleep(0.002)
                if hostile.served == served:
                    self.focus_remote_list()
                return hostile.served > served
            wait_for(asked, what="the listing")
        self.repeat(d.window, LISTINGS, reload)

        poll = message("<NP_Cmd>NP_Cmd_Check_For_User_Click_Cancel</NP_Cmd>")
        self.repeat(d.window, CALL_BACKS, lambda: self.assertIn(b"NP_User_Click_Cancel", call_back(poll)))
        self.assertEqual(d.close(), 0)


if __name__ == "__main__":
    main()
