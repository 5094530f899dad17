"""zorv.pan~ in real Pd renders what the facade renders for the same box and
messages: DC sources into a vbap2d box, moved before DSP starts and again
while it runs, at two sample rates and block sizes (the rate and the block
size reach the object: its ramps are in milliseconds and step per block).
The third inlet has no line and counts as unconnected, as in the renderer."""

import os
import subprocess

import zorvpd
from zorvpd import np

RENDER = zorvpd.env_path("ZORV_RENDER")

BOX = "@numinputs 3 @numoutputs 8 @type vbap2d"
FRAMES = 8192
MOVE_AT = 4096  # a multiple of every block size below
BEFORE_DSP = [
    "interpolationtime 20",
    "sourcespositions 1 1 0 -1 0.5 0 0 -1 0.25",
    "source 1 aed 30 0 2",
]
WHILE_RUNNING = [
    "source 1 aed -100 0 1",
    "source 2 xyz 0.7 -0.7 0",
]
SOURCES = [1.0, 0.5]


def render_in_pd(folder, samplerate, block):
    c = zorvpd.Canvas()
    load = c.obj("loadbang")
    order = c.obj("t b b b b")
    c.connect(load, 0, order, 0)
    pan = c.obj("zorv.pan~ " + BOX)
    first = c.msg(zorvpd.messages(*BEFORE_DSP))
    c.connect(order, 3, first, 0)
    c.connect(first, 0, pan, 0)
    for inlet, value in enumerate(SOURCES):
        source = c.obj(f"sig~ {value}")
        c.connect(source, 0, pan, inlet)
    arrays = [f"zorvpd_out{j + 1}" for j in range(8)]
    for writer in zorvpd.record(c, pan, range(8), arrays, FRAMES):
        c.connect(order, 2, writer, 0)
    dsp = c.msg("\\; pd dsp 1")
    c.connect(order, 1, dsp, 0)
    move = c.obj(f"delay {MOVE_AT} 1 samp")
    second = c.msg(zorvpd.messages(*WHILE_RUNNING))
    c.connect(order, 0, move, 0)
    c.connect(move, 0, second, 0)
    c.connect(second, 0, pan, 0)
    end = c.obj(f"delay {FRAMES + 2 * block} 1 samp")
    finish = c.obj("t b b")
    output = os.path.join(folder, "pd.wav")
    write = c.msg(f"write -bytes 4 -rate {samplerate} {output} " + " ".join(arrays))
    files = c.obj("soundfiler")
    quit_ = c.msg("\\; pd quit")
    c.connect(order, 0, end, 0)
    c.connect(end, 0, finish, 0)
    c.connect(finish, 1, write, 0)
    c.connect(write, 0, files, 0)
    c.connect(finish, 0, quit_, 0)
    c.obj(f"block~ {block}")

    code, log = zorvpd.run_pd(c.patch(), folder, samplerate)
    if code != 0:
        zorvpd.fail(f"pd ended with {code}:\n{log}")
    return zorvpd.read_float_wav(output), log


def render_with_facade(folder, samplerate, block):
    inputs = os.path.join(folder, "dc.wav")
    zorvpd.write_float_wav(inputs, samplerate, np.tile(SOURCES, (FRAMES, 1)))
    score = os.path.join(folder, "score.txt")
    with open(score, "w") as f:
        for message in WHILE_RUNNING:
            f.write(f"{MOVE_AT / samplerate!r} {message}\n")
    output = os.path.join(folder, "facade.wav")
    # Pd starts the object as it is, ramping in from silence: no pre-roll.
    command = [RENDER, "-q", "--no-preroll", "-b", str(block), "-i", inputs, "-s", score,
               "-o", output]
    for message in BEFORE_DSP:
        command += ["-m", message]
    done = subprocess.run(command + [BOX], capture_output=True, text=True, timeout=120)
    if done.returncode != 0:
        zorvpd.fail(f"zorv-render ended with {done.returncode}:\n{done.stderr}")
    return zorvpd.read_float_wav(output)


def main():
    for samplerate, block in [(48000, 64), (44100, 16)]:
        folder = zorvpd.temporary_folder()
        (pd_rate, pd_out), log = render_in_pd(folder, samplerate, block)
        facade_rate, facade_out = render_with_facade(folder, samplerate, block)
        name = f"{samplerate} Hz, block {block}"
        if pd_rate != samplerate or pd_out.shape != (FRAMES, 8):
            zorvpd.fail(f"{name}: Pd wrote {pd_out.shape} at {pd_rate} Hz")
        if facade_out.shape != pd_out.shape:
            zorvpd.fail(f"{name}: shapes {pd_out.shape} and {facade_out.shape}")
        difference = np.max(np.abs(pd_out - facade_out))
        if not difference <= 1e-6:
            worst = np.unravel_index(np.argmax(np.abs(pd_out - facade_out)), pd_out.shape)
            zorvpd.fail(f"{name}: Pd and the facade differ by {difference} at {worst}\n{log}")
        if "error" in log:
            zorvpd.fail(f"{name}: the object refused a message:\n{log}")
        # The scene moves: what the outputs carry before the move is not what
        # they carry at the end, so the comparison covers the ramps.
        change = np.max(np.abs(pd_out[MOVE_AT - 1] - pd_out[-1]))
        if not change > 0.05 or not np.max(np.abs(pd_out)) > 0.1:
            zorvpd.fail(f"{name}: the scene does not move (change {change})")
        print(f"{name}: equal within {difference}, {FRAMES} frames, 8 outputs")


if __name__ == "__main__":
    main()
