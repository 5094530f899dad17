"""Shared pieces of the Pure Data tests: patch text, running Pd headless,
float WAV files. Paths come from the environment that ctest sets:
ZORV_PD (the pd program), ZORV_PD_EXTERNAL (zorv.pan~.pd_linux),
ZORV_RENDER (the offline renderer)."""

import os
import struct
import subprocess
import sys
import tempfile

SKIP = 77

try:
    import numpy as np
except ImportError:  # the checks need Debian's numpy
    print("numpy is missing: skipped")
    sys.exit(SKIP)


def env_path(name):
    value = os.environ.get(name, "")
    if not value or not os.path.exists(value):
        print(f"{name} is not set or missing ({value!r}): skipped")
        sys.exit(SKIP)
    return value


PD = env_path("ZORV_PD")
EXTERNAL = env_path("ZORV_PD_EXTERNAL")
EXTERNAL_DIR = os.path.dirname(EXTERNAL)


class Canvas:
    """The boxes and lines of one canvas, numbered in order of creation as in
    a patch file. Message texts use Pd's escapes: "\\," and "\\;"."""

    def __init__(self, name="scene"):
        self.name = name
        self.boxes = []
        self.lines = []

    def obj(self, text):
        return self._add("obj", text)

    def msg(self, text):
        return self._add("msg", text)

    def connect(self, source, outlet, sink, inlet):
        self.lines.append(f"#X connect {source} {outlet} {sink} {inlet};")

    def _add(self, kind, text):
        y = 10 + 30 * len(self.boxes)
        self.boxes.append(f"#X {kind} 10 {y} {text};")
        return len(self.boxes) - 1

    def patch(self):
        """A patch whose top level holds this canvas as a subpatch, so that
        it may carry its own [block~]."""
        return "\n".join(
            ["#N canvas 0 50 450 300 12;", f"#N canvas 0 50 600 800 {self.name} 0;"]
            + self.boxes
            + self.lines
            + [f"#X restore 10 10 pd {self.name};", ""]
        )


def messages(*texts):
    """Several messages in one message box."""
    return " \\, ".join(texts)


def run_pd(patch_text, folder, samplerate=48000, name="scene.pd", env=None):
    """Runs Pd headless on the patch, which must quit by itself. Returns
    (exit code, standard error); Pd's console goes to standard error. env
    adds variables to Pd's environment."""
    path = os.path.join(folder, name)
    with open(path, "w") as f:
        f.write(patch_text)
    return run_pd_file(path, samplerate, env=env)


def run_pd_file(path, samplerate=48000, extra=(), env=None):
    command = ["timeout", "60", PD, "-nogui", "-nosound", "-batch", "-noprefs",
               "-r", str(samplerate), "-path", EXTERNAL_DIR, "-open", path, *extra]
    environment = dict(os.environ)
    environment.pop("ZORV_PAN_VERBOSE", None)
    environment.update(env or {})
    done = subprocess.run(command, capture_output=True, text=True, timeout=120,
                          env=environment)
    return done.returncode, done.stderr


def temporary_folder():
    return tempfile.mkdtemp(prefix="zorvpd")


def read_float_wav(path):
    """(samplerate, frames x channels float32) of a 32-bit float WAV file."""
    with open(path, "rb") as f:
        data = f.read()
    if data[0:4] != b"RIFF" or data[8:12] != b"WAVE":
        raise ValueError(f"{path}: not a WAV file")
    position = 12
    fmt = None
    samples = None
    while position + 8 <= len(data):
        chunk, size = struct.unpack("<4sI", data[position:position + 8])
        body = data[position + 8:position + 8 + size]
        if chunk == b"fmt ":
            tag, channels, rate = struct.unpack("<HHI", body[0:8])
            bits = struct.unpack("<H", body[14:16])[0]
            if tag == 0xFFFE:
                tag = struct.unpack("<H", body[24:26])[0]
            fmt = (tag, channels, rate, bits)
        elif chunk == b"data":
            samples = body
        position += 8 + size + (size & 1)
    if fmt is None or samples is None or fmt[0] != 3 or fmt[3] != 32:
        raise ValueError(f"{path}: not 32-bit float ({fmt})")
    frames = np.frombuffer(samples, dtype="<f4")
    return fmt[2], frames.reshape(-1, fmt[1])


def write_float_wav(path, samplerate, frames):
    frames = np.ascontiguousarray(frames, dtype="<f4")
    channels = frames.shape[1]
    body = frames.tobytes()
    fmt = struct.pack("<HHIIHH", 3, channels, samplerate, samplerate * channels * 4,
                      channels * 4, 32)
    with open(path, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", 4 + 8 + len(fmt) + 8 + len(body)) + b"WAVE")
        f.write(b"fmt " + struct.pack("<I", len(fmt)) + fmt)
        f.write(b"data" + struct.pack("<I", len(body)) + body)


def record(canvas, source, outlets, arrays, frames):
    """[tabwrite~] per outlet of source into [table]s; returns the
    [tabwrite~] boxes, which a bang starts."""
    writers = []
    for outlet, array in zip(outlets, arrays):
        writer = canvas.obj(f"tabwrite~ {array}")
        canvas.obj(f"table {array} {frames}")
        canvas.connect(source, outlet, writer, 0)
        writers.append(writer)
    return writers


def fail(text):
    print("FAIL: " + text)
    sys.exit(1)
