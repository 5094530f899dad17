"""The object's console in Pd's window, and Pd going on after bad input: a
box the object refuses (@type foo), messages it refuses, a float (a message,
not a constant signal), and a structural change it cannot make. Each prints
the object's own text with its prefix, errors through pd_error ("error: "),
and the patch still runs its DSP and quits by itself."""

import os
import re

import zorvpd


def main():
    folder = zorvpd.temporary_folder()
    c = zorvpd.Canvas()
    bad_box = c.obj("zorv.pan~ @numinputs 2 @numoutputs 4 @type foo")
    good = c.obj("zorv.pan~ @numinputs 2 @numoutputs 4 @type vbap2d")
    load = c.obj("loadbang")
    order = c.obj("t b b b")
    c.connect(load, 0, order, 0)
    bad = c.msg(zorvpd.messages("foo 1 2", "0.5", "3", "numinputs 5", "bang",
                                "list 30 text", "postdspstatus"))
    c.connect(order, 2, bad, 0)
    c.connect(bad, 0, good, 0)
    source = c.obj("osc~ 440")
    c.connect(source, 0, good, 0)
    dsp = c.msg("\\; pd dsp 1")
    c.connect(order, 1, dsp, 0)
    later = c.obj("delay 1024 1 samp")
    still = c.msg("still running")
    printer = c.obj("print zorvpd")
    c.connect(order, 0, later, 0)
    c.connect(later, 0, still, 0)
    c.connect(still, 0, printer, 0)
    late = c.msg("another 1")
    c.connect(later, 0, late, 0)
    c.connect(late, 0, good, 0)
    # Made and deleted while DSP runs, by messages to a subpatch: the chain
    # is rebuilt around it both times.
    c.obj("pd dynamic")
    make = c.msg("\\; pd-dynamic obj 10 10 zorv.pan~ @numoutputs 2 @type vbap2d "
                 "\\; pd-dynamic obj 10 50 osc~ 100 \\; pd-dynamic connect 1 0 0 0")
    c.connect(later, 0, make, 0)
    remove = c.obj("delay 1536 1 samp")
    clear = c.msg("\\; pd-dynamic clear")
    c.connect(order, 0, remove, 0)
    c.connect(remove, 0, clear, 0)
    end = c.obj("delay 2048 1 samp")
    quit_ = c.msg("\\; pd quit")
    c.connect(order, 0, end, 0)
    c.connect(end, 0, quit_, 0)
    del bad_box

    code, log = zorvpd.run_pd(c.patch(), folder)
    if code != 0:
        zorvpd.fail(f"pd ended with {code} (124: it did not quit by itself):\n{log}")
    expected = [
        # The refused box: the object's reason, then Pd's own words.
        r"^error: zorv\.pan~: Unsupported panning configuration$",
        r"couldn't create",
        r'^error: zorv\.pan~: doesn\'t understand "foo"$',
        r'^error: zorv\.pan~: doesn\'t understand "float"$',
        r'^error: zorv\.pan~: doesn\'t understand "int"$',
        r"^error: zorv\.pan~: could not dynamically change number of inputs$",
        r'^error: zorv\.pan~: doesn\'t understand "bang"$',
        r'^error: zorv\.pan~: doesn\'t understand "list"$',
        r"^zorv\.pan~: dsp processing is enabled$",
        r"^zorvpd: still running$",
        r'^error: zorv\.pan~: doesn\'t understand "another"$',
    ]
    lines = log.splitlines()
    at = 0
    for pattern in expected:
        found = next((i for i in range(at, len(lines)) if re.search(pattern, lines[i])), None)
        if found is None:
            zorvpd.fail(f"no line matching {pattern!r} after line {at} of Pd's log:\n{log}")
        at = found + 1
    # The line to the object made at run time found its inlet.
    if "connection failed" in log:
        zorvpd.fail(f"the object made at run time is missing:\n{log}")
    # The object's name once per line, however its text begins.
    doubled = [line for line in lines if "zorv.pan~: zorv.pan~:" in line]
    if doubled:
        zorvpd.fail(f"the object is named twice: {doubled}")

    # The help patch, beside the module, opens without a complaint.
    help_patch = os.path.join(zorvpd.EXTERNAL_DIR, "zorv.pan~-help.pd")
    code, log = zorvpd.run_pd_file(help_patch, extra=["-send", "pd dsp 1", "-send", "pd quit"])
    if code != 0 or "error" in log or "couldn't create" in log:
        zorvpd.fail(f"the help patch: pd ended with {code}:\n{log}")
    print("the object's console is in Pd's log, in order, and Pd quit by itself; "
          "the help patch opens")


if __name__ == "__main__":
    main()
