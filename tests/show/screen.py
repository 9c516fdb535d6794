"""A screen of the test's own, and the viewer on it: keys and the mouse go in, its state and pixels come out."""
import json
import os
import subprocess
import sys
import tempfile
import time

import numpy
import tifffile

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tools"))
from common import TOOL as SHOW, ToolTest

PATIENCE = 30  # seconds; for loaded machines
STATUS_HEIGHT = 17


def wait_for(what, why):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        found = what()
        if found:
            return found
        time.sleep(0.01)
    raise AssertionError(f"waited in vain for {why}")


class Screen:
    """An X server without a screen of glass."""

    def __init__(self, depth=24, visual_class=4):
        read, write = os.pipe()
        self.folder = tempfile.TemporaryDirectory(prefix="qvimage-screen-")
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset", "-cc", str(visual_class), "-screen", "0",
             f"800x700x{depth}", "-fbdir", self.folder.name], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as numbers:
            self.display = ":" + numbers.readline().strip()
        self.environment = dict(os.environ, DISPLAY=self.display)
        # Keys go to the window under the pointer: it begins over the status line.
        self.run("xdotool", "mousemove", 200, 310)

    def close(self):
        self.server.kill()
        self.server.wait()
        self.folder.cleanup()

    def run(self, *words):
        return subprocess.run(list(map(str, words)), env=self.environment, capture_output=True, check=True,
                              timeout=PATIENCE).stdout

    def frame_buffer(self):
        """All of the screen, as the server's own file has it."""
        with open(os.path.join(self.folder.name, "Xvfb_screen0"), "rb") as file:
            return dumped(file.read())


def dumped(image):
    """The pixels of a window's dump, red first: [y, x, 3]."""
    field = lambda i: int.from_bytes(image[4 * i : 4 * i + 4], "big")
    header, width, height, order, bits, line, colours = (field(i) for i in (0, 4, 5, 7, 11, 12, 19))
    masks = [field(14), field(15), field(16)]
    data = numpy.frombuffer(image, numpy.uint8, height * line, header + 12 * colours).reshape(height, line)
    kind = numpy.dtype({16: "u2", 32: "u4"}[bits]).newbyteorder("<>"[order])
    values = numpy.ascontiguousarray(data).view(kind)[:, :width].astype(numpy.int64)
    return numpy.stack([(values & mask) // (mask & -mask) for mask in masks], axis=2)


class Viewer:
    """qvimage show with a window at (0, 0)."""

    def __init__(self, screen, *words, geometry="400x317+0+0", settle=True, **more):
        self.screen = screen
        self.program = subprocess.Popen([SHOW, "show", "--geometry", geometry, *map(str, words)],
                                        env=screen.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)
        try:
            self.window = int(wait_for(self._find, "the window"))
        except AssertionError:
            self.close()
            raise
        self.fence = "y"
        self.last = self.settled() if settle else None

    def _find(self):
        if self.program.poll() is not None:
            raise AssertionError(self.program.stderr.read().decode())
        found = subprocess.run(["xdotool", "search", "--class", "qvimage"], env=self.screen.environment,
                               capture_output=True, text=True)
        return found.stdout.split()[-1] if found.stdout.split() else None

    def state(self):
        text = subprocess.run(["xprop", "-id", str(self.window), "-notype", "_QVIMAGE_STATE"],
                              env=self.screen.environment, capture_output=True, text=True).stdout
        _, equals, value = text.partition(" = ")
        return json.loads(json.loads(value)) if equals else {"serial": -1}

    def settled(self, condition=lambda state: True):
        """The first state that is as wanted, and that nothing is to be done for any more."""

        def look():
            state = self.state()
            return state if state["serial"] > 0 and not state["busy"] and condition(state) else None

        self.last = wait_for(look, "a finished drawing")
        return self.last

    def first_drawing(self):
        return wait_for(lambda: (state := self.state())["serial"] > 0 and state["pages"] > 0 and state, "a drawing")

    def do(self, *words):
        """What xdotool does with these words; then the state. A key that means nothing tells that all is done."""
        self.fence = "x" if self.fence == "y" else "y"
        self.screen.run("xdotool", *words, "key", self.fence)
        return self.settled(lambda state: state["key"] == self.fence)

    def key(self, *names):
        return self.do("key", *names)

    def drag(self, start, end, button=1, shift=False):
        words = ["mousemove", *start]
        words += ["keydown", "shift"] if shift else []
        words += ["mousedown", button, "mousemove", *end, "mouseup", button]
        words += ["keyup", "shift"] if shift else []
        return self.do(*words)

    def pixels(self):
        """The picture's part of the window, red first: [y, x, 3]."""
        return dumped(self.screen.run("xwd", "-silent", "-id", self.window))[:-STATUS_HEIGHT]

    def end(self, key="q"):
        subprocess.run(["xdotool", "key", key], env=self.screen.environment, check=True)
        out, err = self.program.communicate(timeout=PATIENCE)
        return self.program.returncode, out.decode(), err.decode()

    def close(self):
        if self.program.poll() is None:
            self.program.kill()
            self.program.communicate()
        self.program.stdout.close()
        self.program.stderr.close()


class ShowTest(ToolTest):
    screen = viewer = None

    @classmethod
    def setUpClass(cls):
        cls.screen = Screen()
        cls.addClassCleanup(cls.screen.close)

    def save(self, name, pixels, **more):
        photometric = "rgb" if pixels.ndim == 3 and pixels.shape[2] == 3 else "minisblack"
        tifffile.imwrite(self.path(name), pixels, **{"photometric": photometric, **more})
        return name

    def show(self, *words, screen=None, **more):
        """One at a time."""
        if self.viewer:
            self.viewer.close()
        viewer = Viewer(screen or self.screen, *words, cwd=self.folder, **more)
        self.addCleanup(viewer.close)
        self.viewer = viewer
        return viewer
