#!/usr/bin/env -S /usr/bin/python3
"""Quality of the built-in HRTF tables against the measurements they were fitted to.

Reads the committed tables (src/hrtf/ZorvHrtf2bKemar44100.cpp and, resampled to
48000 Hz the way the fitter does when scipy is there, ZorvHrtf2bKemar48000.cpp)
and the MIT KEMAR measurements shipped by Debian's libmysofa1; does not refit.
Exits 77 (skipped) when numpy, h5py or the measurement file are missing. The
same bounds hold at both rates.

The measured magnitude is recomputed here on its own, the way the fitter
defines it: the left ear's response cut to 256 taps (the last 64 faded out by a
half Hann window), divided by the diffuse-field RMS over all directions and both
ears weighted by solid angle. Grid of the error: 256 log-spaced frequencies from
200 Hz to 16 kHz; the error of a direction is the RMS of the dB difference there.
"""

import os
import re
import sys

try:
    import h5py
    import numpy as np
except ImportError as e:
    print(f"skipped: {e}")
    sys.exit(77)

SOFA = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"
ROOT = os.environ.get(
    "ZORV_SOURCE_DIR", os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
)
FS = 44100.0  # the rate of the table under test; main sets it
COUNTS = [56, 60, 72, 72, 72, 72, 72, 60, 56, 45, 36, 24, 12, 1]
ELEVATIONS = list(range(-40, 91, 10))
OFFSETS = [int(v) for v in np.concatenate([[0], np.cumsum(COUNTS)[:-1]])]
GRID = np.geomspace(200.0, 16000.0, 256)

failures = []


def check(ok, text):
    print(("ok    " if ok else "FAIL  ") + text)
    if not ok:
        failures.append(text)


def read_table():
    text = open(os.path.join(ROOT, "src", "hrtf", f"ZorvHrtf2bKemar{int(FS)}.cpp")).read()
    body = text[text.index("= {") :]
    vals = np.array(re.findall(r"(-?\d[\d.eE+-]*)f", body), dtype=np.float32)
    return vals.reshape(-1, 26)


def response_db(row, freqs):
    z1 = np.exp(-2j * np.pi * freqs / FS)
    h = np.full(freqs.shape, float(row[1]), dtype=complex)
    for b1, b2, a1, a2 in row[2:].astype(np.float64).reshape(6, 4):
        h *= (1 + b1 * z1 + b2 * z1**2) / (1 + a1 * z1 + a2 * z1**2)
    return 20 * np.log10(np.abs(h))


def measured_db(ir, freqs):
    # 256 taps at 44100 Hz, the last 64 faded: the same duration at any rate.
    taps, cut, fade = ir.shape[-1], round(256 * FS / 44100), round(64 * FS / 44100)
    win = np.zeros(taps)
    win[: cut - fade] = 1.0
    win[cut - fade : cut] = 0.5 * (1 + np.cos(np.pi * np.arange(fade) / fade))
    spectrum = (ir * win) @ np.exp(-2j * np.pi * np.outer(np.arange(taps), freqs) / FS)
    power = np.abs(spectrum) ** 2  # rows, ears, frequencies
    weight = np.empty(710)
    for n, e, off in zip(COUNTS, ELEVATIONS, OFFSETS):
        lo, hi = np.radians(e - 5), min(np.radians(e + 5), np.pi / 2)
        weight[off : off + n] = (np.sin(hi) - np.sin(lo)) / n
    diffuse = np.einsum("r,ref->f", weight, power) / (2 * weight.sum())
    return 10 * np.log10(power[:, 0, :] / diffuse)


def xcorr_lag_us(left, right):
    c = np.correlate(left, right, "full")
    k = int(np.argmax(c))
    d = 0.5 * (c[k - 1] - c[k + 1]) / (c[k - 1] - 2 * c[k] + c[k + 1])
    return (k + d - (len(right) - 1)) / FS * 1e6


def main():
    global FS
    if not os.path.exists(SOFA):
        print(f"skipped: {SOFA} is missing (Debian package libmysofa1)")
        return 77
    with h5py.File(SOFA, "r") as f:
        measured = np.asarray(f["Data.IR"], dtype=np.float64)
    for rate in (44100, 48000):
        FS = float(rate)
        ir = measured
        if rate != 44100:
            try:
                from scipy import signal
            except ImportError:
                print(f"skipped {rate} Hz: no scipy to resample the measurements")
                continue
            ir = signal.resample_poly(measured, rate // 300, 44100 // 300, axis=-1)
        print(f"-- table at {rate} Hz")
        check_table(ir)
    print(f"{len(failures)} failed")
    return 1 if failures else 0


def check_table(ir):
    table = read_table()
    check(table.shape == (710, 26), f"table is 710 x 26 (got {table.shape})")
    if table.shape != (710, 26):
        return

    # Magnitude.
    meas = measured_db(ir, GRID)
    lsd = np.array([np.sqrt(np.mean((response_db(table[r], GRID) - meas[r]) ** 2)) for r in range(710)])
    med, p95, worst = np.median(lsd), np.percentile(lsd, 95), lsd.max()
    print(f"log-spectral distance: median {med:.3f} dB, 95th percentile {p95:.3f} dB, "
          f"max {worst:.3f} dB (row {int(lsd.argmax())})")
    check(med <= 1.0, "median log-spectral distance <= 1.0 dB")
    check(p95 <= 2.5, "95th percentile <= 2.5 dB")
    check(worst <= 4.0, "no direction above 4 dB")

    # Band edges: out of band no filter rises more than 1.5 dB above its highest level in the
    # adjacent octave. Most do not rise at all; the worst (1.26 dB, the far ear at -40 degrees)
    # continue a slope that the measurement still has at 200-400 Hz into a gentle shelf.
    low_out, low_in = np.geomspace(5, 200, 48), np.geomspace(200, 400, 24)
    high_out, high_in = np.geomspace(16000, FS / 2, 48), np.geomspace(8000, 16000, 48)
    rise = max(
        max(response_db(r, low_out).max() - response_db(r, low_in).max(),
            response_db(r, high_out).max() - response_db(r, high_in).max())
        for r in table
    )
    check(rise <= 1.5, f"no boost below 200 Hz or above 16 kHz (largest rise {rise:.2f} dB)")

    # Delays: a row and its mirror sum to 2.0; the front and the back hold 1.0.
    delay = table[:, 0]
    pair_sum_ok, self_ok = True, True
    for n, off in zip(COUNTS, OFFSETS):
        for j in range(n):
            m = (n - j) % n
            pair_sum_ok &= bool(np.float32(delay[off + j] + delay[off + m]) == np.float32(2.0))
            if m == j:
                self_ok &= bool(delay[off + j] == np.float32(1.0))
    check(pair_sum_ok, "every mirror pair of delays sums to 2.0")
    check(self_ok, "front and back (their own mirrors) hold delay 1.0: ITD 0")

    # ITD on the horizontal ring (ring 4: row 260 + j, j = 18 is 90 degrees left).
    off = OFFSETS[4]
    itd_us = np.array([(delay[off + j] - delay[off + (72 - j) % 72]) * 1000.0 for j in range(72)])
    for j, side in ((18, "left"), (54, "right")):
        lag = xcorr_lag_us(ir[off + j, 0], ir[off + j, 1])
        check(abs(itd_us[j] - lag) <= 30.0,
              f"ITD at 90 degrees {side}: table {itd_us[j]:.1f} us, cross-correlation {lag:.1f} us")
    check(itd_us[18] < 0 < itd_us[54], "the near ear is the earlier one")
    noise = 10.0  # microseconds: the estimator's jitter between neighbours
    front = np.abs(itd_us[0:19])
    back = np.abs(itd_us[36:17:-1])
    mono = all(np.all(v >= np.maximum.accumulate(v) - noise) and v[-1] >= v.max() - noise
               for v in (front, back))
    check(mono, "ITD grows from the front and from the back to the side on the horizontal ring")


if __name__ == "__main__":
    sys.exit(main())
