#!/usr/bin/env -S /usr/bin/python3
"""zorv-hrtf end to end on the MIT KEMAR SOFA file (Debian's libmysofa1).

- `info` of the SOFA file: 710 points, FIR, 512 taps at 44100 Hz, and 558 taps when
  loaded at 48000 Hz (libmysofa resamples on open).
- `convert` to a .hrtf file that `info` reads back to the same summary.
- A copy whose Data.Delay holds a delay of 3 samples for the left ear (written with
  h5py): the delay moves into the left response (515 taps) and every ITD is
  3 / 44100 s = 0.0680 ms.
- A file that is not SOFA: exit code 1 and the loader's text.
- `sh` fits the set on spherical harmonics of order 4 and writes a .shb file: the error
  where fitted and where left out is printed, and a refused input leaves no file.

Exits 77 (skipped) without the tool, h5py or the measurement file.
"""

import os
import shutil
import subprocess
import sys
import tempfile

SOFA = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"
TOOL = os.environ.get("ZORV_HRTF_TOOL", "")
failures = []


def check(ok, text):
    print(("ok    " if ok else "FAIL  ") + text)
    if not ok:
        failures.append(text)


def run(*args):
    p = subprocess.run([TOOL, *args], capture_output=True, text=True, timeout=120)
    return p.returncode, p.stdout, p.stderr


def field(summary, name):
    for line in summary.splitlines():
        if line.strip().startswith(name):
            return line.split(":", 1)[1].strip()
    return None


def main():
    if not TOOL or not os.path.exists(TOOL) or not os.path.exists(SOFA):
        print("skipped: no zorv-hrtf or no KEMAR SOFA file")
        return 77
    try:
        import h5py
        import numpy as np
    except ImportError as e:
        print(f"skipped: {e}")
        return 77

    code, out, err = run("info", SOFA)
    check(code == 0, f"info on the SOFA file succeeds ({err.strip()})")
    check(field(out, "points") == "710", "710 points")
    check(field(out, "filter type") == "FIR", "an FIR set")
    check(field(out, "filter length") == "512 coefficients per channel", "512 taps")
    check(field(out, "sampling rate") == "44100 Hz", "at the file's 44100 Hz")
    check(field(out, "itd") is not None and field(out, "itd").startswith("-0.70"),
          f"ITDs estimated from the responses ({field(out, 'itd')})")
    code, out, _ = run("info", SOFA, "--rate", "48000")
    check(field(out, "filter length") == "558 coefficients per channel",
          "558 taps when resampled to 48000 Hz")

    with tempfile.TemporaryDirectory() as tmp:
        hrtf = os.path.join(tmp, "kemar.hrtf")
        code, _, err = run("convert", SOFA, hrtf)
        check(code == 0 and os.path.exists(hrtf), f"convert writes a .hrtf file ({err.strip()})")
        code, out, _ = run("info", hrtf)
        check(field(out, "points") == "710" and field(out, "filter length").startswith("512"),
              "the .hrtf file reads back to 710 points of 512 taps")

        delayed = os.path.join(tmp, "delayed.sofa")
        shutil.copy(SOFA, delayed)
        with h5py.File(delayed, "r+") as f:
            f["Data.Delay"][...] = np.array([[3.0, 0.0]])
        code, out, err = run("info", delayed)
        check(code == 0, f"a file with delays loads ({err.strip()})")
        check(field(out, "filter length") == "515 coefficients per channel",
              f"the delay moves into the responses ({field(out, 'filter length')})")
        check(field(out, "itd").startswith("0.0680 to 0.0680"),
              f"the ITD comes from the delays ({field(out, 'itd')})")

        bad = os.path.join(tmp, "bad.sofa")
        with open(bad, "w") as f:
            f.write("not a SOFA file")
        code, _, err = run("info", bad)
        check(code == 1 and "couldnt read SOFA file" in err, "a file that is not SOFA is refused")

        shb = os.path.join(tmp, "kemar.shb")
        code, out, err = run("sh", SOFA, shb, "--order", "4", "--holdout", "5")
        check(code == 0 and os.path.exists(shb), f"sh writes a .shb file ({err.strip()})")
        check("order 4, 512 bins at 44100 Hz, from 710 directions" in out,
              f"sh names order, bins, rate and directions ({out.strip()})")
        check("at the 568 fitted directions" in out and "at the 142 directions left out" in out,
              "every fifth direction is left out and judged")
        code, _, err = run("sh", bad, os.path.join(tmp, "bad.shb"))
        check(code == 1 and not os.path.exists(os.path.join(tmp, "bad.shb")),
              "a set that cannot be read writes no .shb file")

        near = os.path.join(tmp, "sphere.near")
        code, out, err = run("nearfield", near)
        check(code == 0 and "792 compensation filter pairs" in out,
              f"nearfield writes the built-in compensation set ({err.strip()})")
        code, out, err = run("info", near)
        check(code == 0 and field(out, "points") == "792",
              f"info reads the .near file back by its own class ({err.strip()})")
        code, _, err = run("info", os.path.join(tmp, "notes.txt"))
        check(code == 2 and "is not a .hrtf" in err,
              "a path that names no set is refused, not shown as the built-in set")

    print(f"{len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
