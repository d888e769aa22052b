#!/usr/bin/env python3
"""Expected 8-bit codes of sRGB colours re-encoded for Display P3 and Adobe RGB (1998).

Independent of the library: linearise with the sRGB curve (IEC 61966-2-1), go to
CIE XYZ with each space's RGB-to-XYZ matrix derived from its published primaries
and D65 white (SMPTE RP 177 derivation), come back through the destination's
inverse, and encode with the destination curve (sRGB curve for Display P3,
gamma 563/256 for Adobe RGB). Colours outside the destination gamut clip.
Prints the values krocolor_e2e_test.cpp expects.
"""


def matrix(xr, yr, xg, yg, xb, yb, xw=0.3127, yw=0.3290):
    def xyz(x, y):
        return [x / y, 1.0, (1 - x - y) / y]
    P = [xyz(xr, yr), xyz(xg, yg), xyz(xb, yb)]
    P = [[P[c][r] for c in range(3)] for r in range(3)]  # columns = primaries
    W = xyz(xw, yw)
    S = solve(P, W)
    return [[P[r][c] * S[c] for c in range(3)] for r in range(3)]


def det(m):
    return (m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1])
            - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0])
            + m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]))


def solve(M, v):
    """M x = v by Cramer's rule."""
    d = det(M)
    return [det([[v[r] if c == k else M[r][c] for c in range(3)] for r in range(3)]) / d for k in range(3)]


def mul(M, v):
    return [sum(M[r][c] * v[c] for c in range(3)) for r in range(3)]


def srgb_decode(v):
    return v / 12.92 if v <= 0.04045 else ((v + 0.055) / 1.055) ** 2.4


def srgb_encode(v):
    v = min(1.0, max(0.0, v))
    return 12.92 * v if v <= 0.0031308 else 1.055 * v ** (1 / 2.4) - 0.055


SRGB = matrix(0.640, 0.330, 0.300, 0.600, 0.150, 0.060)
P3 = matrix(0.680, 0.320, 0.265, 0.690, 0.150, 0.060)
ADOBE = matrix(0.640, 0.330, 0.210, 0.710, 0.150, 0.060)

for name, dst, encode in (("displayp3", P3, srgb_encode),
                          ("adobergb", ADOBE, lambda v: min(1.0, max(0.0, v)) ** (256 / 563))):
    for rgb in ((255, 0, 0), (0, 255, 0), (128, 128, 128)):
        lin = [srgb_decode(c / 255) for c in rgb]
        out = solve(dst, mul(SRGB, lin))
        print(name, rgb, [round(encode(c) * 255) for c in out])
