"""A server, a home and the programs on a real desktop, driven through the accessibility bus by names."""
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
import pyatspi

BIN = pathlib.Path(os.environ["TOBREL_BIN"])
ANN, BOB = "ann@tobrel.test", "bob@tobrel.test"
FILES = {ANN: ["report.pdf", "Projects/q1.pdf"], BOB: ["Notes/today.txt"]}
PATIENCE = 20


def wait_for(what, reading):
    """The first true value that reading() gives."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            if value := reading():
                return value
        except Exception:  # What is asked may just have gone.
            pass
        time.sleep(0.02)
    raise AssertionError(f"{what} has not come")


class Storage:
    """A development server, and a home with everything registered for each user."""

    def __init__(self, *server_options, others=()):
        """`others` are users who only receive."""
        self.folder = pathlib.Path(tempfile.mkdtemp())
        for user in others:
            (self.folder / "storage" / user).mkdir(parents=True)
        for user, names in FILES.items():
            for name in names:
                for top in ("storage", "files"):
                    (self.folder / top / user / name).parent.mkdir(parents=True, exist_ok=True)
                    (self.folder / top / user / name).write_text(name)
        self.options = ["--storage", self.folder / "storage", "--database", self.folder / "database",
                        "--now", "2030-01-15 12:00:00", *server_options]
        for user in (*FILES, *others):
            self.options += ["--user", f"{user}={user}-key"]
        self.server = subprocess.Popen([BIN / "tobrel-devserver", *self.options, "--log", self.folder / "requests"],
                                       stdout=subprocess.PIPE, text=True)
        self.address = self.server.stdout.readline().split()[-1]
        for user in FILES:
            self.admin(user, "server", self.address)
            self.admin(user, "key", "set", text=f"{user}-key")
            self.admin(user, "domain", "add", "work", self.folder / "files" / user)
            self.synchronise(user)

    def home(self, user):
        return self.folder / "home" / user

    def admin(self, user, *words, text=""):
        self.home(user).mkdir(parents=True, exist_ok=True)
        done = subprocess.run([BIN / "tobrel-admin", "--home", self.home(user), *words], input=text, text=True,
                              capture_output=True, check=True)
        return done.stdout

    def synchronise(self, user):
        listing = subprocess.run([BIN / "tobrel-devserver", *self.options, "--list-items", user], text=True,
                                 capture_output=True, check=True).stdout
        for path in (line.split("\t")[1] for line in listing.splitlines()):
            if not (self.folder / "files" / user / path).exists():
                (self.folder / "files" / user / path).mkdir(parents=True)
        self.admin(user, "item", "import", "work", text=listing)

    def requests(self):
        return (self.folder / "requests").read_text()

    def start(self, command, item, user=ANN, environment=None):
        return Run([BIN / "tobrel-action", command, "--home", self.home(user), "--front-end", "gtk",
                    self.folder / "files" / user / item], environment)

    def holders(self):
        """The processes that stay for the clipboard's sake. They guard their memory: more than this is for root alone."""
        found = []
        for process in pathlib.Path("/proc").iterdir():
            try:
                name, words = (process / "comm").read_text(), (process / "cmdline").read_text()
            except OSError:
                continue
            if name == "tobrel-action-g\n" and str(self.folder) in words:
                found.append(int(process.name))
        return found

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.server.stdout.close()
        shutil.rmtree(self.folder)


class Run:
    """A started command, and the window that it shows."""

    def __init__(self, words, environment=None):
        self.process = subprocess.Popen(words, env={**os.environ, **(environment or {})}, stderr=subprocess.PIPE,
                                        text=True, close_fds=False)

    def status(self):
        _, self.error = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode

    def everything(self):
        """Each accessible of the window that is on the screen."""
        def below(node):
            yield node
            for child in node:
                yield from below(child)

        for application in pyatspi.Registry.getDesktop(0):
            for window in application:
                if window.name == "Tobrel":
                    yield from below(window)

    def find(self, name, role=None):
        def matches(node):
            return name in node.name and (role is None or node.getRole() == role) and shows(node)

        return wait_for(f"“{name}”", lambda: next((node for node in self.everything() if matches(node)), None))

    def button(self, name):
        return wait_for(f"button “{name}”", lambda: next(
            (node for node in self.everything()
             if node.name == name and node.getRole() == pyatspi.ROLE_PUSH_BUTTON and shows(node)
             and has_state(node, pyatspi.STATE_SENSITIVE)), None))

    def press(self, name):
        self.button(name).queryAction().doAction(0)

    def focused(self):
        return next((node for node in self.everything() if has_state(node, pyatspi.STATE_FOCUSED)), None)

    def wait_for_focus(self, name):
        wait_for(f"focus on “{name}”", lambda: name in self.focused().name)

    def key(self, *keys, window="Tobrel"):
        """Keys as the user types them, once the window has them."""
        wait_for("the active window", lambda: subprocess.run(
            ["xdotool", "getactivewindow", "getwindowname"], capture_output=True, check=True, text=True,
        ).stdout.startswith(window))
        subprocess.run(["xdotool", "key", "--clearmodifiers", *keys], check=True)

    def type(self, text):
        subprocess.run(["xdotool", "type", "--clearmodifiers", text], check=True)

    def end(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        self.process.communicate()


def has_state(node, state):
    return node.getState().contains(state)


def shows(node):
    # Older toolkits have no state of their own for what is really on the screen.
    return has_state(node, pyatspi.STATE_VISIBLE)


def is_refused(node):
    # Older toolkits tell the state by its neighbour's name.
    marked = has_state(node, pyatspi.STATE_INVALID_ENTRY) or has_state(node, pyatspi.STATE_INVALID)
    return marked and "not accepted" in node.description
