#!/usr/bin/env python3
"""ffmpeg reads our films, and writes films for us to read. QVIMAGE_TOOL names the command."""
import os
import subprocess
import sys

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from judge import check, finish, path, rng, run

TOOL = os.environ["QVIMAGE_TOOL"]
FRAMES, HEIGHT = 7, 22


def piped(data, *command):
    done = subprocess.run(command, input=data, capture_output=True)
    return done.stdout if done.returncode == 0 else done.stderr


def pixels(data, width, components):
    """Frames out of bare bytes, or what was said instead."""
    shape = (FRAMES, HEIGHT, width, components)
    return np.frombuffer(data, np.uint8).reshape(shape) if len(data) == np.prod(shape) else repr(data[:200])


def by_us(film, width, components):
    colour = ["--colour", "rgb"] if components == 3 else []
    return pixels(piped(b"", TOOL, "convert", "--quiet", *colour, film, "raw:-"), width, components)


def by_ffmpeg(film, width, components):
    """As colours, since it takes greys of palettes for colours whose grey it computes."""
    found = pixels(piped(b"", "ffmpeg", "-v", "error", "-i", film, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"), width, 3)
    return found if components == 3 or isinstance(found, str) else found[..., :1]


def apart(a, b):
    """The largest difference, or words."""
    if isinstance(a, str) or isinstance(b, str):
        return a if isinstance(a, str) else b
    return int(np.abs(a.astype(int) - b).max())


def smooth(width, components):
    y, x = np.mgrid[0:HEIGHT, 0:width]
    waves = [[128 + 90 * np.sin((x + n) / 9 + c) * np.cos(y / 7) for c in range(components)] for n in range(FRAMES)]
    return np.moveaxis(np.array(waves), 1, 3).astype(np.uint8)


def is_at_most(what, found, most):
    check(what, isinstance(found, int) and found <= most, found)


film = path("film.avi")
for width in (8, 33, 62):
    for components in (1, 3):
        noise = rng.integers(0, 256, (FRAMES, HEIGHT, width, components), dtype=np.uint8)
        # Decoders of JPEG differ by some steps, in colours more than in greys: theirs rounds and limits elsewhere.
        for codec, frames, words, most in (("bitmaps", noise, [], 0),
                                           ("mjpg", smooth(width, components), ["--quality", "95"], 3)):
            what = f"{codec}, {width} wide, {components} components"
            word = f"raw:-:{width}x{HEIGHT}:u8x{components}"
            said = piped(frames.tobytes(), TOOL, "convert", "--quiet", "--codec", codec, "--fps", "29.97", *words, word, film)
            check(f"{what}: written", said == b"", said)
            is_at_most(f"{what}: ffmpeg and we read the same", apart(by_ffmpeg(film, width, components), by_us(film, width, components)), most)
            is_at_most(f"{what}: it is what was written", apart(by_ffmpeg(film, width, components), frames), 0 if codec == "bitmaps" else 12)
            told = run("ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=width,height,r_frame_rate,nb_read_frames",
                       "-of", "csv=p=0", film).stdout.strip()
            check(f"{what}: ffprobe", told == f"{width},{HEIGHT},2997/100,{FRAMES}", told)
    # Their own motion JPEG tells of sampling that this library does not read: frames are those of cjpeg.
    for components, most in ((1, 3), (3, 4)):
        frames = smooth(width, components)
        head = f"P{4 + (components + 1) // 2} {width} {HEIGHT} 255\n".encode()
        coded = b"".join(piped(head + frame.tobytes(), "cjpeg", "-quality", "95", "-sample", "1x1") for frame in frames)
        given = ((frames.tobytes(), ["-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{width}x{HEIGHT}", "-r", "25"],
                  ["-c:v", "rawvideo", "-pix_fmt", "bgr24"], 0), (coded, ["-f", "image2pipe", "-c:v", "mjpeg"], ["-c", "copy"], most))
        for data, words, more, most in given:
            what = f"theirs, {more[1]}, {width} wide, {components} components"
            if components == 1 and "rgb24" in words:
                continue
            said = piped(data, "ffmpeg", "-v", "error", "-y", *words, "-i", "-", *more, film)
            check(f"{what}: written", said == b"", said)
            # They say 24 bits of grey frames, too.
            is_at_most(what, apart(by_us(film, width, 3), by_ffmpeg(film, width, 3)), most)
finish()
