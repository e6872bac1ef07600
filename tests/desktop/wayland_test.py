"""The clipboard on Wayland, in a compositor that itself is a window of the virtual display."""
import os
import subprocess
import unittest

from desktop import Storage, wait_for

SOCKET = "tobrel-test"


def weston():
    version = subprocess.run(["weston", "--version"], capture_output=True, text=True, check=True).stdout.split()[1]
    old = int(version.split(".")[0]) < 12
    how = ["--backend=x11-backend.so", "--use-pixman"] if old else ["--backend=x11", "--renderer=pixman"]
    return subprocess.Popen(["weston", *how, "--no-config", "--idle-time=0", "--socket=" + SOCKET],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class WaylandTest(unittest.TestCase):
    def setUp(self):
        compositor = weston()
        self.addCleanup(compositor.wait)
        self.addCleanup(compositor.terminate)
        wait_for("the compositor", lambda: os.path.exists(f"{os.environ['XDG_RUNTIME_DIR']}/{SOCKET}"))
        self.environment = {"WAYLAND_DISPLAY": SOCKET, "GDK_BACKEND": "wayland"}
        self.storage = Storage()
        self.addCleanup(self.storage.close)

    def clipboard(self, *words, text=None):
        # The tool that keeps what it copied leaves its output open.
        done = subprocess.run(words, env={**os.environ, **self.environment}, input=text, text=True, check=True,
                              stdout=subprocess.PIPE if text is None else subprocess.DEVNULL, timeout=20)
        return done.stdout

    def test_a_link_can_be_pasted_after_the_window_until_something_else_is_copied(self):
        run = self.storage.start("share", "report.pdf", environment=self.environment)
        self.addCleanup(run.end)
        run.wait_for_focus("Link expires after")
        run.key("Return", window="Weston")
        address = run.find("Link copied to the clipboard:").name.split("\n")[1]
        wait_for("the copy", lambda: not [node for node in run.everything() if "clipboard" in node.name.lower()
                                          and "Link copied" not in node.name])
        run.key("Return", window="Weston")
        self.assertEqual((run.status(), run.error), (0, ""))
        self.assertEqual(self.clipboard("wl-paste", "--no-newline"), address)
        wait_for("the clipboard's one process", lambda: len(self.storage.holders()) == 1)
        self.clipboard("wl-copy", text="something else")
        wait_for("the end of the clipboard's process", lambda: not self.storage.holders())


if __name__ == "__main__":
    unittest.main(verbosity=2)
