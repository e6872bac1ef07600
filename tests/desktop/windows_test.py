"""The windows as their users meet them: real widgets on a display of their own, found by their accessible names."""
import os
import pathlib
import resource
import subprocess
import sys
import unittest

import pyatspi

from desktop import ANN, BIN, BOB, Storage, has_state, is_refused, wait_for


class WindowTest(unittest.TestCase):
    def setUp(self):
        self.storage = Storage()
        self.addCleanup(self.storage.close)

    def start(self, *words, **more):
        run = self.storage.start(*words, **more)
        self.addCleanup(run.end)
        return run

    def pasted(self):
        return subprocess.run(["xclip", "-o", "-selection", "clipboard"], capture_output=True, text=True).stdout

    def copy(self, text):
        subprocess.run(["xclip", "-selection", "clipboard"], input=text, text=True, stdout=subprocess.DEVNULL, check=True)

    def share_with_bob(self):
        run = self.start("share-with", "Projects")
        run.wait_for_focus("their Tobrel email")
        run.type(BOB)
        run.key("Return")
        run.find("Shared with " + BOB)
        run.key("Return")
        self.assertEqual(run.status(), 0)
        self.storage.synchronise(BOB)

    def test_a_link_is_made_and_can_be_pasted_after_the_window_until_something_else_is_copied(self):
        inherited, ours = os.pipe()
        os.set_inheritable(inherited, True)
        run = self.start("share", "report.pdf")
        run.wait_for_focus("Link expires after")
        run.key("7", "Return")
        message = run.find("Link copied to the clipboard:").name
        address = message.split("\n")[1]
        self.assertIn('"expires_in_days":7', self.storage.requests())
        run.key("Return")
        self.assertEqual((run.status(), run.error), (0, ""))

        self.assertEqual(self.pasted(), address)
        [holder] = wait_for("the clipboard's process", self.storage.holders)
        self.assertEqual(os.getsid(holder), holder)
        os.close(inherited)
        with self.assertRaises(BrokenPipeError):
            os.write(ours, b"held by nobody")
        os.close(ours)
        _, resident, shared, *_ = map(int, pathlib.Path(f"/proc/{holder}/statm").read_text().split())
        self.assertLess((resident - shared) * resource.getpagesize(), 12 * 1024 * 1024)
        if os.getuid() == 0:
            self.assertEqual(os.readlink(f"/proc/{holder}/cwd"), "/")

        again = self.start("share", "report.pdf")
        again.find("This already has a live link. Expires")
        again.wait_for_focus("Copy Link")
        again.key("Return")
        again.find("Link copied")
        again.press("Done")
        self.assertEqual(again.status(), 0)
        wait_for("the one clipboard's process", lambda: holder not in (now := self.storage.holders()) and len(now) == 1)
        self.assertEqual(self.pasted(), address)
        self.copy("something else")
        wait_for("the end of the clipboard's process", lambda: not self.storage.holders())

    def test_refused_days_are_marked_and_the_check_box_takes_them_away(self):
        run = self.start("share", "report.pdf")
        run.wait_for_focus("Link expires after")
        run.type("0")
        run.press("Create Link")
        field = run.find("Link expires after", pyatspi.ROLE_TEXT)
        wait_for("the mark", lambda: is_refused(field))
        run.wait_for_focus("Link expires after")
        self.assertNotRegex(self.storage.requests(), "POST /tobrel/api/(shares|grants) ")
        run.key("shift+Tab", "space")
        wait_for("the disabled field", lambda: not has_state(field, pyatspi.STATE_SENSITIVE))
        run.key("Return")
        run.find("This link does not expire.")
        run.key("Escape")
        self.assertEqual(run.status(), 0)

    def test_a_folder_is_shared_refused_without_an_address_stopped_and_left(self):
        run = self.start("share-with", "Projects")
        run.wait_for_focus("their Tobrel email")
        run.type("bob")
        run.key("Return")
        wait_for("the mark", lambda: is_refused(run.focused()))
        run.key("ctrl+a")
        run.type(BOB)
        run.key("Tab")
        run.wait_for_focus("Can view and download")
        run.key("space")
        wait_for("the list", lambda: run.focused().getRole() == pyatspi.ROLE_LIST_ITEM)
        run.key("Down", "Return")
        run.wait_for_focus("Can view, add, edit and delete")
        run.key("Return")
        run.find(f"Shared with {BOB}, can edit.")
        run.key("Return")
        self.assertEqual(run.status(), 0)

        manage = self.start("manage", "Projects")
        row = manage.find(f"{BOB}  ·  can edit").name
        # Return, however often, takes nothing away.
        manage.wait_for_focus("Done")
        self.assertEqual(manage.button("Stop sharing").description, row)
        manage.press("Stop sharing")
        manage.find("Not shared with anyone yet.")
        manage.wait_for_focus("Done")
        manage.key("Return")
        self.assertEqual(manage.status(), 0)

        self.share_with_bob()
        leave = self.start("manage", "Shared with me/Projects", user=BOB)
        leave.wait_for_focus("Done")
        leave.press("Leave")
        leave.find("You left “Projects”.")
        leave.press("Done")
        self.assertEqual(leave.status(), 0)

    def test_a_long_list_opens_at_its_closing_button_and_works_down_to_its_last_line(self):
        people = [f"person{number:02}@tobrel.test" for number in range(1, 61)]
        storage = Storage(others=people)
        self.addCleanup(storage.close)
        for person in people:
            subprocess.run([BIN / "tobrel-action", "share-with", "--home", storage.home(ANN), "--front-end", "batch",
                            "--email", person, "--role", "view", storage.folder / "files" / ANN / "Projects"], check=True)
        run = storage.start("manage", "Projects")
        self.addCleanup(run.end)
        run.wait_for_focus("Done")
        wait_for("the last line's button", lambda: next(
            node for node in run.everything() if node.name == "Stop sharing" and people[-1] in node.description
        )).queryAction().doAction(0)
        wait_for("the end of the last line", lambda: 'DELETE /tobrel/api/grants' in storage.requests())

    def test_cancel_escape_and_signals_complete_the_request_in_each_state(self):
        ends = {"Cancel": lambda run: run.press("Cancel"), "Escape": lambda run: run.key("Escape"),
                "closing": lambda run: run.key("alt+F4"), "a signal": lambda run: run.process.terminate()}
        for command, item, state in (("share", "report.pdf", "Create Link"), ("share-with", "Projects", "Share")):
            for name, end in ends.items():
                with self.subTest(command=command, by=name):
                    run = self.start(command, item)
                    run.button(state)
                    end(run)
                    self.assertEqual((run.status(), run.error), (0, ""))
        self.assertNotRegex(self.storage.requests(), "POST /tobrel/api/(shares|grants) ")
        self.assertFalse(self.storage.holders())


class ProgressTest(unittest.TestCase):
    def test_what_closing_leaves_unanswered_is_said(self):
        storage = Storage("--stall", "/tobrel/api/grants")
        self.addCleanup(storage.close)
        for end in (lambda run: run.key("Escape"), lambda run: run.press("Done")):
            run = storage.start("share-with", "Projects")
            self.addCleanup(run.end)
            run.wait_for_focus("their Tobrel email")
            run.type(BOB)
            run.key("Return")
            run.find("Working")
            end(run)
            self.assertEqual((run.status(), run.error), (0, "tobrel-action: Closed before “Share” was answered: "
                                                            "it may have been done all the same.\n"))

    def test_a_progress_line_comes_late_is_not_closed_by_return_and_can_be_cancelled(self):
        storage = Storage("--stall", "/tobrel/api/grants")
        self.addCleanup(storage.close)
        run = storage.start("manage", "Projects")
        self.addCleanup(run.end)
        run.find("Checking sharing…")
        run.find("Working")
        run.key("Return", "Return")
        self.assertIsNone(run.process.poll())
        run.press("Done")
        self.assertEqual((run.status(), run.error), (0, ""))

    def test_opening_a_browser_shows_no_window(self):
        storage = Storage()
        self.addCleanup(storage.close)
        browser = storage.folder / "browser"
        browser.write_text(f'#!/bin/sh\nenv >{storage.folder}/seen\nprintf %s "$1" >{storage.folder}/opened\n')
        browser.chmod(0o755)
        watch = subprocess.Popen(["xdotool", "search", "--sync", "--name", "^Tobrel$"], stdout=subprocess.PIPE)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.wait)
        self.addCleanup(watch.kill)
        run = storage.start("online", "report.pdf", environment={"BROWSER": str(browser)})
        self.addCleanup(run.end)
        self.assertEqual((run.status(), run.error), (0, ""))
        wait_for("the browser", lambda: "files#files" in (storage.folder / "opened").read_text())
        self.assertIsNone(watch.poll())
        self.assertNotRegex((storage.folder / "seen").read_text(), "(?m)^(GSK_RENDERER|GDK_DEBUG|GDK_DISABLE|GIO_USE_VFS|TOBREL_REPORT)")

    def test_without_a_display_nothing_happens_but_one_line(self):
        storage = Storage()
        self.addCleanup(storage.close)
        for display in ({"DISPLAY": ""}, {"DISPLAY": ":4242", "WAYLAND_DISPLAY": "nowhere"}):
            run = storage.start("share", "report.pdf", environment=display)
            self.assertEqual(run.status(), 4)
            self.assertEqual(run.error, "tobrel-action: there is no display for a window here; use --front-end terminal\n")
        self.assertEqual(storage.requests(), "")


if __name__ == "__main__":
    unittest.main(verbosity=2)
