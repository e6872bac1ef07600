"""The right click that all of this is for: in a real Nautilus, from the menu to the link."""
import os
import pathlib
import shutil
import subprocess
import time
import unittest

import pyatspi

from desktop import ANN, BIN, Run, Storage, has_state, wait_for

# Where Nautilus looks for extensions, which is fixed in it.
EXTENSIONS = subprocess.run(["pkg-config", "--variable=extensiondir", "libnautilus-extension-4"], capture_output=True,
                            text=True, check=True).stdout.strip()


def in_nautilus(name, unnamed=lambda items: None):
    """What is called so in its window. Newer toolkits do not tell what a menu's items are called: `unnamed` picks one."""
    def below(node):
        yield node
        for child in node:
            yield from below(child)

    def look():
        # Nautilus fills its window when it has nothing else to do: questions without a pause would keep it empty.
        time.sleep(0.3)
        nodes = [node for application in pyatspi.Registry.getDesktop(0) if "Nautilus" in application.name
                 for node in below(application)]
        items = [node for node in nodes if node.getRole() == pyatspi.ROLE_MENU_ITEM and not node.name
                 and has_state(node, pyatspi.STATE_SHOWING)]
        return next((node for node in nodes if node.name == name), None) or unnamed(items)

    return wait_for(f"“{name}” in Nautilus", look)


class NautilusTest(unittest.TestCase):
    def setUp(self):
        self.storage = Storage()
        self.addCleanup(self.storage.close)

    def in_a_system_of_its_own(self, *words):
        """Words that run these where the user's home is Ann's, and Nautilus has our extension alone."""
        extensions = self.storage.folder / "extensions"
        extensions.mkdir()
        shutil.copy(BIN.parent / "lib/libtobrel-nautilus.so", extensions)
        users = [line.split(":") for line in pathlib.Path("/etc/passwd").read_text().splitlines()]
        for user in users:
            if user[2] == str(os.getuid()):
                user[5] = str(self.storage.home(ANN))
        passwd = self.storage.folder / "passwd"
        passwd.write_text("".join(":".join(user) + "\n" for user in users))
        alone = ["unshare", "--mount"]
        if os.getuid() != 0:
            alone += ["--user", "--map-current-user", "--keep-caps"]
        if subprocess.run([*alone, "true"], capture_output=True).returncode:
            self.skipTest("this system lets its user make no mount namespace")
        script = 'mount --bind "$1" /etc/passwd && mount --bind "$2" "$3" && shift 3 && exec "$@"'
        return [*alone, "sh", "-c", script, "sh", passwd, extensions, EXTENSIONS, *words]

    def forbid_indexer(self):
        """Nautilus would start it."""
        services = pathlib.Path(os.environ["XDG_RUNTIME_DIR"]) / "dbus-1/services"
        services.mkdir(parents=True, exist_ok=True)
        for name in ("Miner.Files", "Miner.Files.Control"):
            (services / f"org.freedesktop.Tracker3.{name}.service").write_text(
                f"[D-BUS Service]\nName=org.freedesktop.Tracker3.{name}\nExec=/bin/false\n")
        subprocess.run(["gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/",
                        "--method", "org.freedesktop.DBus.ReloadConfig"], stdout=subprocess.DEVNULL, check=True)

    def open_menu(self):
        """Nautilus, its window, and Share link among the commands for report.pdf on the screen."""
        self.forbid_indexer()
        folder = self.storage.folder / "files" / ANN
        # Drawn by the processor: without a graphics card its spinner alone would keep it busy.
        nautilus = Run(self.in_a_system_of_its_own("nautilus", "--new-window", folder),
                       {"PATH": f"{BIN}:{os.environ['PATH']}", "GSK_RENDERER": "cairo", "GDK_DEBUG": "gl-disable",
                        "GDK_DISABLE": "gl", "GIO_USE_VFS": "local", "GIO_USE_VOLUME_MONITOR": "unix",
                        "HOME": str(self.storage.home(ANN))})
        self.addCleanup(nautilus.end)
        in_nautilus("report.pdf")
        window = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", ANN], capture_output=True, text=True,
                                check=True).stdout.split()[0]
        # Keys do not reach it before a first click, into the empty space.
        subprocess.run(["xdotool", "windowactivate", "--sync", window, "windowsize", "--sync", window, "1060", "520",
                        "mousemove", "--window", window, "600", "450", "click", "1", "key", "End", "key", "shift+F10"],
                       check=True)
        in_nautilus("Tobrel", lambda items: next(
            (item for item in items if has_state(item, pyatspi.STATE_EXPANDABLE)), None)).queryAction().doAction(0)
        return nautilus, window, in_nautilus("Share link", lambda items: has_state(
            items[0], pyatspi.STATE_EXPANDED) and items[3])

    def test_share_link_in_the_menu_makes_a_link(self):
        nautilus, _, share_link = self.open_menu()
        share_link.queryAction().doAction(0)
        nautilus.press("Create Link")
        nautilus.find("Link copied to the clipboard:")
        nautilus.press("Done")
        self.assertIn('"keys":["ann@tobrel.test/report.pdf"]', self.storage.requests())


if __name__ == "__main__":
    unittest.main()
