#!/usr/bin/env -S /usr/bin/python3
"""Fits the built-in HRTF tables Zorv::hrtf_2b_KEMAR_44100 and _48000 (710 rows of 26 floats).

Data
----
The MIT KEMAR dummy-head measurements, normal pinna, as shipped by Debian's
libmysofa1 package in /usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa.
Measured by Bill Gardner and Keith Martin, MIT Media Lab Machine Listening
Group, 1994 ("HRTF measurements of a KEMAR dummy-head microphone", MIT Media Lab
Perceptual Computing Technical Report 280). Terms of the data, as quoted in the
package's copyright file: "This data is Copyright 1994 by the MIT Media
Laboratory. It is provided free with no restrictions on use, provided the
authors are cited when the data is used in any research or commercial
application."

Conventions of the file (checked by load_sofa below, which refuses a file that
differs)
-----------------------------------------------------------------------------
- SOFAConventions SimpleFreeFieldHRIR, Data.SamplingRate 44100 Hz, Data.IR of
  shape (710, 2, 512): 512-tap impulse responses, Data.Delay all zero.
- SourcePosition is spherical (azimuth degrees, elevation degrees, 1.4 m).
  Azimuth grows counter-clockwise seen from above: 90 is the listener's left
  (at azimuth 90 receiver 0 is the louder and earlier ear).
- ReceiverPosition: receiver 0 at +y (0.09 m), the left ear; receiver 1 at -y,
  the right ear.
- The 710 directions are stored ring by ring from elevation -40 to 90 in steps
  of 10 degrees with 56, 60, 72, 72, 72, 72, 72, 60, 56, 45, 36, 24, 12 and 1
  points, each ring starting at azimuth 0 and going counter-clockwise. Point j
  of a ring of n is therefore at j * -360 / n degrees in the clockwise user
  convention of the table, so the file's row order is the table's row order.
- The set is exactly left/right symmetric: the right ear at point j is the left
  ear at the mirror point (n - j) mod n.

What a row holds
----------------
Column 0: the left ear's delay in ms around a base of 1.0, 1 + ITD / 2 with
ITD = (left arrival - right arrival), estimated as the lag of the peak of the
cross-correlation of the two ears' responses after a 1.5 kHz low-pass (4th-order
Butterworth, zero phase), refined to 1/16 sample and by a parabola. The
low-pass keeps the estimate on the main lobe behind the head, where the
full-band correlation jumps between lobes; at the side it stays within about
20 us of the full-band lag. A row and its mirror hold 1 + h and 1 - h with h a
multiple of 2^-23, so the pair sums to exactly 2.0 in float.
Column 1: gain. Columns 2..25: six sections b1, b2, a1, a2 (monic numerator
and denominator), a minimum-phase model of the left ear's magnitude.

Window, equalisation and band edges
-----------------------------------
The direct sound reaches the ears between taps 25 and 60. The responses are cut
to their first 256 taps (5.8 ms), the last 64 faded out by a half Hann window:
the head, pinna and torso have spoken within about 3 ms of the direct sound,
and what the 512 taps hold after that (ringing and reflections of the
apparatus) only adds a fine ripple of about 1 dB that six sections cannot and
should not follow. The delays are estimated on the full responses.

The measurements hold the measurement chain (loudspeaker, microphones): little
below 200 Hz and a steep fall above 16 kHz. The set is diffuse-field
equalised: each magnitude is divided by the RMS magnitude over all directions
and both ears, weighted by the solid angle each point stands for. That removes
the chain (common to every direction) without a reference measurement, leaves
the directional cues, and gives a set whose average colour is neutral on
headphones. The fit target is the equalised dB magnitude of the windowed
responses between 200 Hz and 16 kHz; below 200 Hz and above 16 kHz it is held
at the level of the band edge (a 1/3-octave average), so the filters boost
neither the bass nor the top.

The fit
-------
Least squares on the dB magnitude over 320 log-spaced frequencies in
200 Hz - 16 kHz plus 24 held points below and 24 above (weight 0.5). Each
section's numerator and denominator are parametrised by two reflection
coefficients tanh(u) of the polynomial scaled to radius R = 0.995, so every
pole and zero stays at a radius below 0.995 whatever the optimiser does.
Starting points: a classical design (Sanathanan-Koerner iterations on the
minimum-phase response of the target), a neutral start, the solution of the
previous point on the ring and that of the nearest point of the ring below;
the best is kept. Results are cached per direction in tools/hrtf-fit/cache/ so an interrupted run resumes.

Other rates
-----------
With --rate R (48000 is the one the object uses) the measurements are first
resampled from 44100 Hz to R by a polyphase filter (scipy.signal.resample_poly,
zero phase, so the taps stay aligned in time) and everything above runs at R:
the window keeps its length in milliseconds (256 and 64 taps at 44100 Hz become
279 and 70 at 48000), the band, the held edges and the bounds stay the same.

Usage (from the repository root):
    /usr/bin/python3 tools/hrtf-fit/fit_kemar.py [--rate 48000]
writes src/hrtf/ZorvHrtf2bKemar<R>.h/.cpp and tools/hrtf-fit/report/ (report-<R>/
for another rate than 44100).
"""

import argparse
import hashlib
import os
import shutil
import subprocess
import sys
import time

import numpy as np

SOURCE_FS = 44100.0
FS = SOURCE_FS  # the rate of the fit; set_rate changes it
RING_COUNTS = [56, 60, 72, 72, 72, 72, 72, 60, 56, 45, 36, 24, 12, 1]
RING_ELEVATIONS = list(range(-40, 91, 10))
RING_OFFSETS = list(np.concatenate([[0], np.cumsum(RING_COUNTS)[:-1]]))
NUM_ROWS = 710
NUM_SECTIONS = 6
ROW_LENGTH = 2 + 4 * NUM_SECTIONS
RADIUS = 0.995
BAND = (200.0, 16000.0)
NUM_BAND_POINTS = 320
NUM_EDGE_POINTS = 24
EDGE_WEIGHT = 0.5
ITD_LOWPASS_HZ = 1500.0
WINDOW_TAPS = 256
WINDOW_FADE = 64
DEFAULT_SOFA = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"
DB = 20.0 / np.log(10.0)



def set_rate(rate):
    """Fit at another rate: the window keeps its duration."""
    global FS, WINDOW_TAPS, WINDOW_FADE
    FS = float(rate)
    WINDOW_TAPS = int(round(256 * FS / SOURCE_FS))
    WINDOW_FADE = int(round(64 * FS / SOURCE_FS))


HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))


# ----------------------------------------------------------------------------- data


def load_sofa(path):
    """Returns (ir[710, 2, 512], azimuth_ccw_deg[710], elevation_deg[710])."""
    import h5py

    with h5py.File(path, "r") as f:
        conv = f.attrs["SOFAConventions"]
        conv = conv.decode() if isinstance(conv, bytes) else str(conv)
        if conv != "SimpleFreeFieldHRIR":
            raise SystemExit(f"{path}: conventions {conv}, expected SimpleFreeFieldHRIR")
        fs = float(np.asarray(f["Data.SamplingRate"]).ravel()[0])
        ir = np.asarray(f["Data.IR"], dtype=np.float64)
        pos = np.asarray(f["SourcePosition"], dtype=np.float64)
        rec = np.asarray(f["ReceiverPosition"], dtype=np.float64).reshape(2, 3)
        delay = np.asarray(f["Data.Delay"], dtype=np.float64)
    if fs != SOURCE_FS or ir.shape != (NUM_ROWS, 2, 512) or np.any(delay != 0):
        raise SystemExit(f"{path}: expected 710 x 2 x 512 taps at 44100 Hz with no delays")
    if not (rec[0, 1] > 0 and rec[1, 1] < 0):
        raise SystemExit(f"{path}: receiver 0 is not the left ear (+y)")
    az, el = pos[:, 0], pos[:, 1]
    for ring, (n, e, off) in enumerate(zip(RING_COUNTS, RING_ELEVATIONS, RING_OFFSETS)):
        rows = slice(off, off + n)
        expect = np.arange(n) * 360.0 / n
        if np.any(el[rows] != e) or np.max(np.abs(az[rows] - expect)) > 1e-3:
            raise SystemExit(f"{path}: ring {ring} is not on the expected grid")
    side = RING_OFFSETS[4] + 18  # azimuth 90, elevation 0
    if np.sum(ir[side, 0] ** 2) <= np.sum(ir[side, 1] ** 2):
        raise SystemExit(f"{path}: azimuth 90 is not on the left")
    if FS != SOURCE_FS:
        from fractions import Fraction

        from scipy import signal

        ratio = Fraction(int(FS), int(SOURCE_FS))
        ir = signal.resample_poly(ir, ratio.numerator, ratio.denominator, axis=-1)
    return ir, az, el


def windowed(ir):
    """The first 256 taps, the last 64 of them faded out by a half Hann window."""
    win = np.zeros(ir.shape[-1])
    flat = WINDOW_TAPS - WINDOW_FADE
    win[:flat] = 1.0
    win[flat:WINDOW_TAPS] = 0.5 * (1 + np.cos(np.pi * np.arange(WINDOW_FADE) / WINDOW_FADE))
    return ir * win


def ring_of(row):
    ring = int(np.searchsorted(RING_OFFSETS, row, side="right") - 1)
    return ring, row - RING_OFFSETS[ring]


def mirror_row(row):
    ring, j = ring_of(row)
    n = RING_COUNTS[ring]
    return RING_OFFSETS[ring] + (n - j) % n


def solid_angle_weights():
    w = np.zeros(NUM_ROWS)
    half = np.radians(5.0)
    for n, e, off in zip(RING_COUNTS, RING_ELEVATIONS, RING_OFFSETS):
        lo, hi = np.radians(e) - half, min(np.radians(e) + half, np.pi / 2)
        w[off : off + n] = 2 * np.pi * (np.sin(hi) - np.sin(lo)) / n
    return w


def dtft_db(ir, freqs):
    """dB magnitude of the impulse responses (..., taps) at arbitrary frequencies."""
    n = np.arange(ir.shape[-1])
    basis = np.exp(-2j * np.pi * np.outer(n, freqs) / FS)
    return 10.0 * np.log10(np.abs(ir @ basis) ** 2 + 1e-20)


def diffuse_field_db(ir, freqs):
    """dB of the solid-angle weighted RMS magnitude over every direction and both ears."""
    w = solid_angle_weights()
    power = 10.0 ** (dtft_db(ir, freqs) / 10.0)  # (710, 2, F)
    avg = np.einsum("r,ref->f", w, power) / (2.0 * w.sum())
    return 10.0 * np.log10(avg)


def fit_grid():
    band = np.geomspace(BAND[0], BAND[1], NUM_BAND_POINTS)
    low = np.geomspace(10.0, BAND[0], NUM_EDGE_POINTS + 1)[:-1]
    high = np.geomspace(BAND[1], min(21500.0, 0.49 * FS), NUM_EDGE_POINTS + 1)[1:]
    freqs = np.concatenate([low, band, high])
    weights = np.concatenate(
        [np.full(low.size, EDGE_WEIGHT), np.ones(band.size), np.full(high.size, EDGE_WEIGHT)]
    )
    return freqs, weights, low.size, band.size


def targets(ir):
    """Equalised dB target of every row's left ear on the fit grid, band edges held."""
    freqs, _, nlow, nband = fit_grid()
    band = freqs[nlow : nlow + nband]
    eq = diffuse_field_db(ir, band)
    left = dtft_db(ir[:, 0, :], band) - eq
    third = 2.0 ** (1.0 / 3.0)
    low_level = left[:, band <= BAND[0] * third].mean(axis=1)
    high_level = left[:, band >= BAND[1] / third].mean(axis=1)
    out = np.empty((NUM_ROWS, freqs.size))
    out[:, :nlow] = low_level[:, None]
    out[:, nlow : nlow + nband] = left
    out[:, nlow + nband :] = high_level[:, None]
    return out


# ----------------------------------------------------------------------------- ITD


def itd_samples(left, right):
    """Left arrival minus right arrival, in samples (negative: the left ear is nearer)."""
    from scipy import signal

    sos = signal.butter(4, ITD_LOWPASS_HZ, fs=FS, output="sos")
    a = signal.sosfiltfilt(sos, left)
    b = signal.sosfiltfilt(sos, right)
    n, up = 4096, 16
    c = np.fft.irfft(np.fft.rfft(a, n) * np.conj(np.fft.rfft(b, n)), n * up)
    c = np.roll(c, n * up // 2)
    k = int(np.argmax(c))
    y0, y1, y2 = c[k - 1], c[k], c[k + 1]
    den = y0 - 2.0 * y1 + y2
    d = 0.5 * (y0 - y2) / den if den != 0 else 0.0
    return (k + d - n * up // 2) / up


def delays(ir):
    """Column 0 of every row: 1 + h and 1 - h for a mirror pair, h a multiple of 2^-23."""
    col = np.ones(NUM_ROWS)
    for row in range(NUM_ROWS):
        m = mirror_row(row)
        if m <= row:
            continue  # set with its partner, or its own mirror (delay 1.0)
        itd_ms = itd_samples(ir[row, 0], ir[row, 1]) * 1000.0 / FS
        h = np.round(0.5 * itd_ms * 2.0**23) / 2.0**23
        col[row], col[m] = 1.0 + h, 1.0 - h
    return col


# ----------------------------------------------------------------------------- model


class Model:
    """dB response of gain * six monic sections, parametrised by reflection coefficients."""

    def __init__(self, freqs):
        w = 2 * np.pi * freqs / FS
        self.c1 = np.exp(-1j * w)
        self.c2 = np.exp(-2j * w)

    @staticmethod
    def coefficients(p):
        """p = [gain_db, (u1, u2, v1, v2) * 6] -> gain, (S, 4) of b1, b2, a1, a2."""
        t = np.tanh(p[1:].reshape(NUM_SECTIONS, 4))
        b1 = RADIUS * t[:, 0] * (1 + t[:, 1])
        b2 = RADIUS**2 * t[:, 1]
        a1 = RADIUS * t[:, 2] * (1 + t[:, 3])
        a2 = RADIUS**2 * t[:, 3]
        return 10.0 ** (p[0] / 20.0), np.stack([b1, b2, a1, a2], axis=1)

    def response_db(self, gain, sections):
        out = np.full(self.c1.shape, 20.0 * np.log10(gain))
        for b1, b2, a1, a2 in sections:
            out += 10 * np.log10(np.abs(1 + b1 * self.c1 + b2 * self.c2) ** 2)
            out -= 10 * np.log10(np.abs(1 + a1 * self.c1 + a2 * self.c2) ** 2)
        return out

    def residual_and_jacobian(self, p, target, weights):
        t = np.tanh(p[1:].reshape(NUM_SECTIONS, 2, 2))  # section, num/den, k1/k2
        dt = 1 - t**2
        x1 = RADIUS * t[..., 0] * (1 + t[..., 1])
        x2 = RADIUS**2 * t[..., 1]
        poly = 1 + x1[..., None] * self.c1 + x2[..., None] * self.c2  # (S, 2, F)
        mag2 = np.abs(poly) ** 2
        sign = np.array([1.0, -1.0])[None, :, None]
        model = p[0] + (sign * 10 * np.log10(mag2)).sum(axis=(0, 1))
        r = weights * (model - target)
        # d dB / d x1, d x2
        g1 = sign * DB * np.real(np.conj(poly) * self.c1) / mag2
        g2 = sign * DB * np.real(np.conj(poly) * self.c2) / mag2
        du1 = g1 * (RADIUS * dt[..., 0] * (1 + t[..., 1]))[..., None]
        du2 = (
            g1 * (RADIUS * t[..., 0] * dt[..., 1])[..., None]
            + g2 * (RADIUS**2 * dt[..., 1])[..., None]
        )
        jac = np.empty((target.size, p.size))
        jac[:, 0] = weights
        jac[:, 1:] = (np.stack([du1, du2], axis=2) * weights).reshape(-1, target.size).T
        return r, jac


def neutral_start(rng=None):
    """Pole and zero pairs spread over the band, the zeros a little inside the poles."""
    p = np.zeros(1 + 4 * NUM_SECTIONS)
    centres = np.geomspace(400.0, 14000.0, NUM_SECTIONS)
    for s, fc in enumerate(centres):
        w = 2 * np.pi * fc / FS
        for col, rad in ((0, 0.80), (2, 0.85)):
            if rng is not None:
                rad = np.clip(rad + rng.normal(0, 0.05), 0.3, 0.97)
                w = np.clip(w * np.exp(rng.normal(0, 0.2)), 0.01, 3.1)
            a1, a2 = -2 * rad * np.cos(w), rad**2
            k2 = a2 / RADIUS**2
            k1 = a1 / (RADIUS * (1 + k2))
            p[1 + 4 * s + col] = np.arctanh(np.clip(k1, -0.999, 0.999))
            p[1 + 4 * s + col + 1] = np.arctanh(np.clip(k2, -0.999, 0.999))
    return p


def sections_to_params(polys):
    """(S, 4) of b1, b2, a1, a2, inside radius RADIUS -> the section part of p."""
    p = np.zeros(4 * NUM_SECTIONS)
    for s, (b1, b2, a1, a2) in enumerate(polys):
        for col, (c1, c2) in ((0, (b1, b2)), (2, (a1, a2))):
            k2 = np.clip(c2 / RADIUS**2, -0.999, 0.999)
            k1 = np.clip(c1 / (RADIUS * (1 + k2)), -0.999, 0.999)
            p[4 * s + col : 4 * s + col + 2] = np.arctanh([k1, k2])
    return p


def pulled_in(roots, limit):
    """The roots, those beyond radius limit moved onto it along their own angle."""
    return np.where(np.abs(roots) > limit, roots / np.abs(roots) * limit, roots)


def pair_roots(roots, limit):
    """Six monic quadratics from twelve roots: conjugate pairs together, real roots by two."""
    roots = pulled_in(roots, limit)
    cplx = sorted([r for r in roots if r.imag > 1e-9], key=lambda r: -abs(r))
    real = sorted([r.real for r in roots if abs(r.imag) <= 1e-9], key=lambda r: -abs(r))
    quads = [(-2 * r.real, abs(r) ** 2) for r in cplx]
    for i in range(0, len(real) - 1, 2):
        quads.append((-(real[i] + real[i + 1]), real[i] * real[i + 1]))
    if len(real) % 2:
        quads.append((-real[-1], 0.0))
    quads = (quads + [(0.0, 0.0)] * NUM_SECTIONS)[:NUM_SECTIONS]
    return np.array(quads)


def classic_start(freqs, target, iterations=8):
    """Sanathanan-Koerner iterations on the minimum-phase response of the target."""
    n = 8192
    grid = np.linspace(0, FS / 2, n // 2 + 1)
    logmag = np.interp(np.log(np.maximum(grid, freqs[0])), np.log(freqs), target) / DB
    cep = np.fft.irfft(logmag, n)
    fold = np.zeros(n)
    fold[0], fold[n // 2] = cep[0], cep[n // 2]
    fold[1 : n // 2] = 2 * cep[1 : n // 2]
    spectrum = np.exp(np.fft.rfft(fold))
    h = np.interp(freqs, grid, spectrum.real) + 1j * np.interp(freqs, grid, spectrum.imag)
    order = 2 * NUM_SECTIONS
    z = np.exp(-1j * 2 * np.pi * np.outer(freqs, np.arange(order + 1)) / FS)
    a = np.r_[1.0, np.zeros(order)]
    for _ in range(iterations):
        wgt = 1.0 / np.maximum(np.abs(z @ a), 1e-6)
        # B(z) - H(z) (A(z) - 1) = H(z), unknowns b0..bN, a1..aN
        m = np.hstack([z, -h[:, None] * z[:, 1:]]) * wgt[:, None]
        rhs = h * wgt
        sol = np.linalg.lstsq(np.vstack([m.real, m.imag]), np.r_[rhs.real, rhs.imag], rcond=None)[0]
        b, a = sol[: order + 1], np.r_[1.0, sol[order + 1 :]]
        a = np.poly(pulled_in(np.roots(a), 0.98))  # keep the next weighting finite
    zeros = np.roots(b) if abs(b[0]) > 1e-12 else np.zeros(order)
    num = pair_roots(zeros, 0.98)
    den = pair_roots(np.roots(a), 0.98)
    return np.r_[0.0, sections_to_params(np.hstack([num, den]))]


def fit_one(model, target, weights, starts):
    from scipy.optimize import least_squares

    best = None
    for p0 in starts:
        p0 = np.r_[0.0, np.clip(p0[1:], -6, 6)]
        p0[0] = target.mean() - model.response_db(*Model.coefficients(np.r_[0.0, p0[1:]])).mean()
        res = least_squares(
            lambda p: model.residual_and_jacobian(p, target, weights)[0],
            p0,
            jac=lambda p: model.residual_and_jacobian(p, target, weights)[1],
            method="trf",
            max_nfev=600,
            xtol=1e-10,
            ftol=1e-10,
        )
        p = np.r_[res.x[0], np.clip(res.x[1:], -9, 9)]
        cost = np.sum(model.residual_and_jacobian(p, target, weights)[0] ** 2)
        if best is None or cost < best[0]:
            best = (cost, p)
    return best[1]


# ----------------------------------------------------------------------------- run


def config_key(sofa_path):
    h = hashlib.sha1()
    with open(sofa_path, "rb") as f:
        h.update(f.read())
    settings = (RADIUS, BAND, NUM_BAND_POINTS, NUM_EDGE_POINTS, EDGE_WEIGHT)
    extra = (WINDOW_TAPS, WINDOW_FADE, 4) if FS == SOURCE_FS else (WINDOW_TAPS, WINDOW_FADE, 4, FS)
    h.update(repr(settings + extra).encode())
    return h.hexdigest()[:16]


def run_fit(ir, cache_path, key, log):
    freqs, weights, _, _ = fit_grid()
    model = Model(freqs)
    tgt = targets(windowed(ir))
    params = np.zeros((NUM_ROWS, 1 + 4 * NUM_SECTIONS))
    done = np.zeros(NUM_ROWS, bool)
    seconds = 0.0  # fit time summed over interrupted runs
    if os.path.exists(cache_path):
        c = np.load(cache_path)
        if str(c["key"]) == key:
            params, done = c["params"].copy(), c["done"].copy()
            seconds = float(c["seconds"]) if "seconds" in c else 0.0
            log(f"resuming: {int(done.sum())} of {NUM_ROWS} directions cached")
    t0 = time.time() - seconds
    for row in range(NUM_ROWS):
        if done[row]:
            continue
        ring, j = ring_of(row)
        starts = [classic_start(freqs, tgt[row]), neutral_start()]
        if j > 0 and done[row - 1]:
            starts.append(params[row - 1])
        if ring > 0:
            prev_n = RING_COUNTS[ring - 1]
            near = RING_OFFSETS[ring - 1] + int(round(j * prev_n / RING_COUNTS[ring])) % prev_n
            if done[near]:
                starts.append(params[near])
        params[row] = fit_one(model, tgt[row], weights, starts)
        done[row] = True
        if row % 10 == 9 or row == NUM_ROWS - 1:
            os.makedirs(os.path.dirname(cache_path), exist_ok=True)
            seconds = time.time() - t0
            np.savez(cache_path + ".tmp.npz", key=key, params=params, done=done, seconds=seconds)
            os.replace(cache_path + ".tmp.npz", cache_path)
            log(f"row {row + 1}/{NUM_ROWS}  {time.time() - t0:.0f} s")
    return params, seconds


def table_from(params, delay_col):
    table = np.zeros((NUM_ROWS, ROW_LENGTH))
    for row in range(NUM_ROWS):
        gain, sec = Model.coefficients(params[row])
        table[row, 0] = delay_col[row]
        table[row, 1] = gain
        table[row, 2:] = sec.ravel()
    return table.astype(np.float32)


def write_source(table, command, header_path, source_path):
    rate = int(FS)
    name = f"hrtf_2b_KEMAR_{rate}"
    resampled = "" if FS == SOURCE_FS else f", resampled to {rate} Hz"
    guard_comment = (
        "// The built-in HRTF set: a biquad model of the MIT KEMAR measurements (normal pinna,\n"
        f"// {rate} Hz), measured by Bill Gardner and Keith Martin at the MIT Media Lab in 1994.\n"
        "// \"This data is Copyright 1994 by the MIT Media Laboratory. It is provided free with no\n"
        "// restrictions on use, provided the authors are cited when the data is used in any\n"
        "// research or commercial application.\"\n"
        "//\n"
        "// Generated from /usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa (Debian libmysofa1)\n"
        f"// by: {command}{resampled}\n"
        "// Do not edit by hand: see tools/hrtf-fit/README.md.\n"
    )
    with open(header_path, "w") as f:
        f.write("#pragma once\n\n" + guard_comment)
        f.write(
            "//\n"
            "// 710 rows, ring by ring from elevation -40 to 90 degrees, each ring from the front\n"
            "// towards the left. One ear only, the left: column 0 its delay in ms around 1.0,\n"
            "// column 1 the gain, columns 2..25 six sections b1, b2, a1, a2 (monic numerator and\n"
            "// denominator), minimum phase, diffuse-field equalised. Read-only: shared by every\n"
            "// thread without a lock.\n\n"
            "namespace Zorv {\n\n"
            f"extern float const {name}[710][26];\n\n"
            "}  // namespace Zorv\n"
        )
    with open(source_path, "w") as f:
        header = os.path.basename(header_path)
        f.write(guard_comment + f'\n#include "{header}"\n\nnamespace Zorv {{\n\n')
        f.write(f"float const {name}[710][26] = {{\n")
        for row in range(NUM_ROWS):
            ring, j = ring_of(row)
            vals = ", ".join(float_literal(v) for v in table[row])
            f.write(f"    // row {row}: elevation {RING_ELEVATIONS[ring]}, j {j}\n    {{{vals}}},\n")
        f.write("};\n\n}  // namespace Zorv\n")
    clang_format = shutil.which("clang-format")
    if clang_format:  # the house format, so that the format check passes on generated code
        subprocess.run([clang_format, "-i", header_path, source_path], check=True)


def float_literal(v):
    """Shortest text that reads back as the same float, as a C++ float literal."""
    text = f"{float(v):.9g}"
    for digits in range(6, 10):
        if np.float32(f"{float(v):.{digits}g}") == np.float32(v):
            text = f"{float(v):.{digits}g}"
            break
    if "." not in text and "e" not in text:
        text += ".0"
    return text + "f"


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--sofa", default=DEFAULT_SOFA)
    ap.add_argument("--rate", type=int, default=44100, help="rate of the table, Hz")
    ap.add_argument("--cache", default=None)
    ap.add_argument("--fresh", action="store_true", help="ignore the cache")
    ap.add_argument("--no-report", action="store_true")
    args = ap.parse_args()

    def log(msg):
        print(msg, flush=True)

    set_rate(args.rate)
    rate = int(FS)
    if args.cache is None:
        name = "fit.npz" if FS == SOURCE_FS else f"fit-{rate}.npz"
        args.cache = os.path.join(HERE, "cache", name)
    t0 = time.time()
    ir, _, _ = load_sofa(args.sofa)
    if args.fresh and os.path.exists(args.cache):
        os.remove(args.cache)
    params, seconds = run_fit(ir, args.cache, config_key(args.sofa), log)
    table = table_from(params, delays(ir))
    command = "/usr/bin/python3 tools/hrtf-fit/fit_kemar.py"
    if FS != SOURCE_FS:
        command += f" --rate {rate}"
    write_source(
        table,
        command,
        os.path.join(ROOT, "src", "hrtf", f"ZorvHrtf2bKemar{rate}.h"),
        os.path.join(ROOT, "src", "hrtf", f"ZorvHrtf2bKemar{rate}.cpp"),
    )
    log(f"fit and source: {time.time() - t0:.0f} s")
    if not args.no_report:
        sys.path.insert(0, HERE)
        import report

        report.fk.set_rate(rate)  # report imports this file as a module of its own
        runtime = (
            f"Fit time: {seconds:.0f} s for the 710 directions, one process"
            f" ({os.cpu_count()} cores on the machine, shared)."
        )
        outdir = "report" if FS == SOURCE_FS else f"report-{rate}"
        report.write(ir, table, os.path.join(HERE, outdir), log, runtime)


if __name__ == "__main__":
    main()
