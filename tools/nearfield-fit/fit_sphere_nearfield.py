#!/usr/bin/python3
"""The built-in nearfield compensation set: a rigid sphere, fitted to biquads.

A point source near a rigid sphere (radius a, the listener's head) reaches an
ear on the sphere's surface with the classical series

    H(rho, mu, theta) = -(rho / mu) exp(-i mu rho)
                        * sum_m (2m + 1) P_m(cos theta) h_m(mu rho) / h_m'(mu)

rho = r / a (source distance over radius), mu = 2 pi f a / c, theta the angle
between the source and the ear as seen from the centre, h_m the spherical
Hankel function. H is the pressure at the ear over the free-field pressure at
the centre with the source at the same place: it carries the head's shadow
and boost, and for a near source the ear's own nearness, but not the common
1/r of distance.

The renderer plays the HRTF set measured at R = 2.08 m, with a gain R / d per
ear (the gains correction, d the distance from the source to that ear), and
this set's filter C per ear. For the ear to hear the sphere's near field,

    C(r, theta) = (d / r) H(r, theta) / H(R, theta)

so that the set's measured direction, the per-ear distance gain and C
together give the sphere's level for a source at r instead of R. Without the
gains correction the renderer applies R / r to both ears and C still corrects
the colour, but the ears' level difference is then short by r / d.

Grid: sources in the horizontal plane every 5 degrees of azimuth, at 0.2 to
2.0 m; both ears of a point from the same grid (the left ear at theta from
-x, the right from +x). Each C is fitted, as a minimum-phase magnitude, to a
gain and two second-order sections with real poles and zeros inside the unit
circle (the renderer's biquad type, 9 values an ear), on a log-frequency grid
from 30 Hz to 20 kHz at 48000 Hz.

Writes src/hrtf/ZorvNearfieldSphere48000.h/.cpp and prints the fit error.

    /usr/bin/python3 tools/nearfield-fit/fit_sphere_nearfield.py
"""

import argparse
import os
import sys

import numpy as np
from scipy import optimize, special

A = 0.0875  # head radius, metres
C_SOUND = 340.0  # as the renderer's delays take it
R_MEAS = 2.08
RATE = 48000
RADII = [0.2, 0.25, 0.3, 0.4, 0.5, 0.6, 0.8, 1.0, 1.25, 1.5, 2.0]
AZ_STEP = 5
SECTIONS = 2
FREQS = np.geomspace(30.0, 20000.0, 160)


def sphere(rho, mu, cos_theta):
    """H for one rho and mu, an array of cos(theta)."""
    x = mu * rho
    top = int(np.ceil(x + 10.0 * x ** (1.0 / 3.0) + 40))
    m = np.arange(top + 1)
    # h_m(z) = j_m(z) - i y_m(z); the derivative likewise.
    hn = special.spherical_jn(m, x) - 1j * special.spherical_yn(m, x)
    dh = special.spherical_jn(m, mu, derivative=True) - 1j * special.spherical_yn(
        m, mu, derivative=True)
    with np.errstate(all="ignore"):
        ratio = hn / dh
    ratio[~np.isfinite(ratio)] = 0.0
    legendre = np.array([special.eval_legendre(m, c) for c in cos_theta])  # (theta, m)
    total = legendre @ ((2 * m + 1) * ratio)
    return -(rho / mu) * np.exp(-1j * x) * total


def responses(r, cos_theta):
    out = np.empty((len(cos_theta), len(FREQS)), dtype=complex)
    for k, f in enumerate(FREQS):
        mu = 2 * np.pi * f * A / C_SOUND
        out[:, k] = sphere(r / A, mu, cos_theta)
    return out


def section_values(p):
    """Parameters to gain and sections [b1, b2, a1, a2]..., all roots real in (-1, 1)."""
    g = np.exp(p[0])
    roots = 0.9995 * np.tanh(p[1:])
    vals = [g]
    for s in range(SECTIONS):
        z1, z2, p1, p2 = roots[4 * s:4 * s + 4]
        vals += [-(z1 + z2), z1 * z2, -(p1 + p2), p1 * p2]
    return np.array(vals)


def magnitude_db(vals, freqs=FREQS):
    z = np.exp(-1j * 2 * np.pi * freqs / RATE)
    h = np.full(len(freqs), vals[0], dtype=complex)
    for s in range(SECTIONS):
        b1, b2, a1, a2 = vals[1 + 4 * s:5 + 4 * s]
        h *= (1 + b1 * z + b2 * z * z) / (1 + a1 * z + a2 * z * z)
    return 20 * np.log10(np.abs(h) + 1e-30)


def fit(target_db, start):
    def residual(p):
        return magnitude_db(section_values(p)) - target_db
    best = None
    for p0 in start:
        res = optimize.least_squares(residual, p0, method="lm", max_nfev=4000)
        if best is None or res.cost < best.cost:
            best = res
    return best.x, section_values(best.x)


def literal(v):
    """A C++ float literal: always with a point or an exponent."""
    text = "%.9g" % v
    if "." not in text and "e" not in text and "inf" not in text and "nan" not in text:
        text += ".0"
    return text + "f"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--out", default=os.path.join(os.path.dirname(__file__), "..", "..",
                                                      "src", "hrtf"))
    args = parser.parse_args()

    thetas = np.arange(0, 181, AZ_STEP)
    cos_t = np.cos(np.radians(thetas))
    far = responses(R_MEAS, cos_t)
    table = {}  # (radius index, theta) -> values
    errors = []
    band = (FREQS >= 50) & (FREQS <= 16000)
    rng = np.random.default_rng(1)
    for ri, r in enumerate(RADII):
        near = responses(r, cos_t)
        previous = None
        for ti, th in enumerate(thetas):
            d = np.sqrt(r * r + A * A - 2 * A * r * cos_t[ti])
            target = 20 * np.log10(np.abs((d / r) * near[ti] / far[ti]))
            starts = [np.concatenate([[target[0] * np.log(10) / 20],
                                      np.tile([1.0, 0.5, 0.9, 0.3], SECTIONS)])]
            starts.append(np.concatenate([[target[0] * np.log(10) / 20],
                                          rng.normal(0.0, 1.0, 4 * SECTIONS)]))
            if previous is not None:
                starts.append(previous)
            p, vals = fit(target, starts)
            previous = p
            err = np.abs(magnitude_db(vals) - target)[band]
            errors.append(err.max())
            table[(ri, int(th))] = vals
        print("r %.2f m: worst fit error %.3f dB" % (r, max(errors[-len(thetas):])),
              file=sys.stderr)
    errors = np.array(errors)
    print("fit error 50 Hz - 16 kHz, per filter worst: median %.3f dB, 95th %.3f dB, max %.3f dB"
          % (np.median(errors), np.percentile(errors, 95), errors.max()))

    rows = []
    for ri, r in enumerate(RADII):
        for az in range(0, 360, AZ_STEP):
            a = np.radians(az)
            x, y = r * np.sin(a), r * np.cos(a)  # clockwise from the front, +x right
            th_right = int(round(np.degrees(np.arccos(np.clip(np.sin(a), -1, 1)))))
            th_left = int(round(np.degrees(np.arccos(np.clip(-np.sin(a), -1, 1)))))
            th_right = AZ_STEP * int(round(th_right / AZ_STEP))
            th_left = AZ_STEP * int(round(th_left / AZ_STEP))
            rows.append((x, y, table[(ri, th_left)], table[(ri, th_right)], r, az))

    n = len(rows)
    width = 3 + 2 * (1 + 4 * SECTIONS)
    head = ("// The built-in nearfield compensation set: a rigid sphere of radius %.4f m, a point\n"
            "// source at 0.2 to 2.0 m relative to the same source at %.2f m, for each ear, fitted\n"
            "// to a gain and %d biquad sections at %d Hz. Generated by\n"
            "// /usr/bin/python3 tools/nearfield-fit/fit_sphere_nearfield.py; do not edit by hand.\n"
            "// %d rows: x, y, z of the source (metres, +x right, +y front), then the left ear's\n"
            "// gain, b1, b2, a1, a2 per section, then the right ear's. Read-only.\n"
            % (A, R_MEAS, SECTIONS, RATE, n))
    with open(os.path.join(args.out, "ZorvNearfieldSphere48000.h"), "w") as f:
        f.write("#pragma once\n\n" + head + "\nnamespace Zorv {\n\n")
        f.write("extern unsigned int const nearfield_sphere_48000_rows;\n")
        f.write("extern unsigned int const nearfield_sphere_48000_coefficients;\n")
        f.write("extern float const nearfield_sphere_48000[%d][%d];\n\n}  // namespace Zorv\n"
                % (n, width))
    with open(os.path.join(args.out, "ZorvNearfieldSphere48000.cpp"), "w") as f:
        f.write(head + "\n#include \"ZorvNearfieldSphere48000.h\"\n\nnamespace Zorv {\n\n")
        f.write("unsigned int const nearfield_sphere_48000_rows = %d;\n" % n)
        f.write("unsigned int const nearfield_sphere_48000_coefficients = %d;\n\n"
                % (1 + 4 * SECTIONS))
        f.write("float const nearfield_sphere_48000[%d][%d] = {\n" % (n, width))
        for x, y, left, right, r, az in rows:
            vals = [x, y, 0.0] + list(left) + list(right)
            f.write("    // %.2f m, azimuth %d\n    {%s},\n"
                    % (r, az, ", ".join(literal(v) for v in vals)))
        f.write("};\n\n}  // namespace Zorv\n")


if __name__ == "__main__":
    main()
