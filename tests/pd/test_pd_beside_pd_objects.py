"""zorv.pan~ and Pd's own objects in one patch: Pd's [osc~], [print],
[tabwrite~] and [soundfiler] work beside two of our objects, which work too.
Pd defines gensym, class_new, post, outlet_new... and so does our host layer
inside the module; were either bound to the other's, the objects made after
the module was loaded, or ours, would fail or crash here."""

import os

import zorvpd
from zorvpd import np

SAMPLERATE = 48000
FRAMES = 4096
FREQUENCY = 1000


def main():
    folder = zorvpd.temporary_folder()
    c = zorvpd.Canvas()
    # Ours first, so that Pd loads the module before it makes the others.
    first = c.obj("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d")
    load = c.obj("loadbang")
    order = c.obj("t b b b b")
    c.connect(load, 0, order, 0)
    ask = c.msg(zorvpd.messages("postdspstatus", "version"))
    c.connect(order, 3, ask, 0)
    c.connect(ask, 0, first, 0)
    printer = c.obj("print pdside")
    hello = c.msg("hello 1 2.5 three")
    c.connect(order, 3, hello, 0)
    c.connect(hello, 0, printer, 0)
    osc = c.obj(f"osc~ {FREQUENCY}")
    c.connect(osc, 0, first, 0)
    second = c.obj("zorv.pan~ @numinputs 2 @numoutputs 2 @type vbap2d")
    c.connect(osc, 0, second, 1)
    # Both sources in front of the pair, short ramps.
    place = c.msg(zorvpd.messages("interpolationtime 5", "sourcespositions 0 1 0 0.2 1 0"))
    c.connect(order, 3, place, 0)
    c.connect(place, 0, second, 0)
    c.connect(place, 0, first, 0)
    arrays = ["zorvpd_osc"] + [f"zorvpd_first{j + 1}" for j in range(4)] + \
        [f"zorvpd_second{j + 1}" for j in range(2)]
    writers = zorvpd.record(c, osc, [0], arrays[:1], FRAMES)
    writers += zorvpd.record(c, first, range(4), arrays[1:5], FRAMES)
    writers += zorvpd.record(c, second, range(2), arrays[5:], FRAMES)
    for writer in writers:
        c.connect(order, 2, writer, 0)
    dsp = c.msg("\\; pd dsp 1")
    c.connect(order, 1, dsp, 0)
    end = c.obj(f"delay {FRAMES + 128} 1 samp")
    finish = c.obj("t b b")
    output = os.path.join(folder, "beside.wav")
    write = c.msg(f"write -bytes 4 -rate {SAMPLERATE} {output} " + " ".join(arrays))
    files = c.obj("soundfiler")
    written = c.obj("print written")
    quit_ = c.msg("\\; pd quit")
    c.connect(order, 0, end, 0)
    c.connect(end, 0, finish, 0)
    c.connect(finish, 1, write, 0)
    c.connect(write, 0, files, 0)
    c.connect(files, 0, written, 0)
    c.connect(finish, 0, quit_, 0)

    code, log = zorvpd.run_pd(c.patch(), folder, SAMPLERATE)
    if code != 0:
        zorvpd.fail(f"pd ended with {code}:\n{log}")
    for expected in ["pdside: hello 1 2.5 three", f"written: {FRAMES}",
                     "zorv.pan~: dsp processing is enabled"]:
        if expected not in log:
            zorvpd.fail(f"{expected!r} is not in Pd's log:\n{log}")

    rate, frames = zorvpd.read_float_wav(output)
    if rate != SAMPLERATE or frames.shape != (FRAMES, len(arrays)):
        zorvpd.fail(f"Pd wrote {frames.shape} at {rate} Hz")
    t = np.arange(FRAMES) / SAMPLERATE
    osc_error = np.max(np.abs(frames[:, 0] - np.cos(2 * np.pi * FREQUENCY * t)))
    if not osc_error < 1e-3:
        zorvpd.fail(f"[osc~] is off by {osc_error}")
    # Fixed positions: each output of ours is the oscillator times a gain,
    # once the first ramp is over.
    steady = slice(FRAMES // 2, FRAMES)
    x = frames[steady, 0]
    gains = []
    for column in range(1, len(arrays)):
        y = frames[steady, column]
        gain = float(np.dot(x, y) / np.dot(x, x))
        residual = np.max(np.abs(y - gain * x))
        if not residual < 1e-5:
            zorvpd.fail(f"{arrays[column]} is not a gain times [osc~] ({residual})")
        gains.append(gain)
    if not max(gains[:4]) > 0.1 or not max(gains[4:]) > 0.1:
        zorvpd.fail(f"our objects are silent: gains {gains}")
    print(f"Pd's objects and ours work side by side; gains {np.round(gains, 4)}")


if __name__ == "__main__":
    main()
