"""A thousand listings and ten thousand call-backs leave both programs as large as they were."""
import itertools
import os

from common import SLOW, act_until, both, command, kib_of, wait_for, write
from desktop import BUILD, WINDOW, DesktopTest, main
from front_end import FrontEnd
from hostile_engine import HostileEngine, call_back, listing, row, whole

ROWS = 100
LISTINGS, CALL_BACKS = 1000 // SLOW, 10_000 // SLOW


def descriptors_of(process):
    return len(os.listdir(f"/proc/{process.pid}/fd"))


class Load(DesktopTest):
    def repeat(self, process, times, action):
        """After the first tenth nothing may grow any more."""
        descriptors = 0
        for number in range(times):
            action()
            if number <= times // 10:  # between two requests some are just being opened anew
                memory, descriptors = kib_of(process, "VmRSS"), max(descriptors, descriptors_of(process))
        self.assertLessEqual(descriptors_of(process), descriptors)
        if SLOW == 1:  # a sanitizer keeps what is freed
            self.assertLess(kib_of(process, "VmRSS") - memory, 2048, f"KiB more after {times} times")

    def test_listings_of_the_engine(self):
        for number in range(ROWS):
            write(os.path.join(self.desktop.remote, f"file {number}"))
        self.desktop.start_engine()
        front_end = FrontEnd()
        self.addCleanup(front_end.close)
        request = command("Get_File_List", both("TG", "TF", "C:\\"))
        self.repeat(self.desktop.engine, LISTINGS,
                    lambda: self.assertEqual(front_end.ask(request).count(b"<Line>"), ROWS))

    def focus_remote_list(self):
        self.desktop.xdo("search", "--sync", "--onlyvisible", "--name", "^Relay Hub$", "windowfocus", "--sync", "%1",
                         "mousemove", "--window", "%1", "--polar", 100, 200, "click", 1)

    def test_window(self):
        d = self.desktop
        hostile = HostileEngine(self)
        hostile.lie(whole(listing(*(row(f"file {number}") for number in range(ROWS)))))
        d.env["GTK_MODULES"] = ""  # the accessibility bridge keeps something for each row that ever was
        d.window = d.spawn([WINDOW], cwd=BUILD)
        wait_for(lambda: hostile.served, 20, what="the first listing")

        def reload():
            served, tries = hostile.served, itertools.count()

            def press():  # a key that comes while the one before is still being served is lost
                if next(tries) % 10 == 9:
                    self.focus_remote_list()
                d.xdo("key", "F5")
            act_until(lambda: hostile.served > served, press, 0.05, what="the listing")
        self.repeat(d.window, LISTINGS, reload)
        poll = command("Check_For_User_Click_Cancel")
        self.repeat(d.window, CALL_BACKS, lambda: self.assertIn(b"NP_User_Click_Cancel", call_back(poll)))
        self.assertEqual(d.close(), 0)


if __name__ == "__main__":
    main()
