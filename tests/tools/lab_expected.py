#!/usr/bin/env python3
"""Expected CIE L*a*b* values for tests/lab_conversion_test.cpp.

Worked in double precision, straight from the published formulas, with no
code shared with the library:
  - sRGB curve of IEC 61966-2-1 (clamped to [0, 1]); inverse BT.709 curve of
    ITU-R BT.709; PQ EOTF of SMPTE ST 2084 scaled so 1.0 = 1000 cd/m2; HLG
    display transform of ITU-R BT.2100 (OOTF with system gamma
    1.2 + 0.42 log10(Lw / 1000), black lift from Lb / Lw) at Lw = 203 cd/m2,
    Lb = 0.005 cd/m2;
  - RGB-to-XYZ normalised primary matrices (D65) of BT.709/sRGB, Display P3
    and BT.2020, as rounded to seven digits;
  - CIE 1976 L*a*b* with the classic constants 0.008856 and 7.787 and the
    D65 white (0.950456, 1, 1.088754).
Inputs are rounded to single precision first, as the C++ test passes floats.
Run: python3 tests/tools/lab_expected.py
"""
import math
import struct


def f32(x):
    return struct.unpack('f', struct.pack('f', x))[0]


def srgb_eotf(v):
    lin = v / 12.92 if v < 0.04045 else ((v + 0.055) / 1.055) ** 2.4
    return min(max(lin, 0.0), 1.0)


def bt709_eotf(v):
    return v / 4.5 if v < 0.081 else ((v + 0.099) / 1.099) ** (1 / 0.45)


M1, M2 = 2610 / 16384, 2523 / 4096 * 128
C1, C2, C3 = 3424 / 4096, 2413 / 4096 * 32, 2392 / 4096 * 32


def pq_eotf_1000(v):
    """PQ signal to linear light with 1.0 = 1000 cd/m2."""
    p = v ** (1 / M2)
    return (max(p - C1, 0.0) / (C2 - C3 * p)) ** (1 / M1) * 10000 / 1000


def pq_signal(nits):
    """PQ inverse EOTF: the signal of an absolute luminance."""
    y = (nits / 10000) ** M1
    return ((C1 + C2 * y) / (1 + C3 * y)) ** M2


HLG_A = 0.17883277
HLG_B = 1 - 4 * HLG_A
HLG_C = 0.5 - HLG_A * math.log(4 * HLG_A)


def hlg_inverse_oetf(e):
    return e * e / 3 if e <= 0.5 else (math.exp((e - HLG_C) / HLG_A) + HLG_B) / 12


def hlg_display(rgb, lw=203.0, lb=0.005):
    """BT.2100 HLG EOTF, relative to the nominal peak Lw (1.0 = Lw)."""
    gamma = 1.2 + 0.42 * math.log10(lw / 1000)
    beta = math.sqrt(3 * (lb / lw) ** (1 / gamma))
    scene = [hlg_inverse_oetf(max(0.0, (1 - beta) * v + beta)) for v in rgb]
    ys = 0.2627 * scene[0] + 0.6780 * scene[1] + 0.0593 * scene[2]
    return [ys ** (gamma - 1) * s for s in scene]


SRGB_XYZ = [[0.4123908, 0.3575843, 0.1804808],
            [0.2126390, 0.7151687, 0.0721923],
            [0.0193308, 0.1191948, 0.9505322]]
P3_XYZ = [[0.4865709, 0.2656677, 0.1982173],
          [0.2289746, 0.6917385, 0.0792869],
          [0.0000000, 0.0451134, 1.0439444]]
BT2020_XYZ = [[0.6369580, 0.1446169, 0.1688810],
              [0.2627002, 0.6779981, 0.0593017],
              [0.0000000, 0.0280727, 1.0609851]]
WHITE = (0.950456, 1.0, 1.088754)


def lab(xyz):
    def f(t):
        return t ** (1 / 3) if t > 0.008856 else 7.787 * t + 16 / 116
    fx, fy, fz = (f(c / w) for c, w in zip(xyz, WHITE))
    return max(116 * fy - 16, 0.0), 500 * (fx - fy), 200 * (fy - fz)


def to_lab(space, rgb):
    rgb = [f32(v) for v in rgb]
    if space == 'bt2020-hlg':
        lin, m = hlg_display(rgb), BT2020_XYZ
    elif space == 'bt2020-pq':
        lin, m = [pq_eotf_1000(v) for v in rgb], BT2020_XYZ
    elif space == 'p3-bt709':
        lin, m = [bt709_eotf(v) for v in rgb], P3_XYZ
    else:
        lin, m = [srgb_eotf(v) for v in rgb], SRGB_XYZ
    xyz = [sum(m[k][i] * lin[i] for i in range(3)) for k in range(3)]
    return lab(xyz)


# (label, primaries, transfer, colour space of the conversion, r, g, b)
CASES = [
    ('srgb white', 1, 13, 'srgb', 1, 1, 1),
    ('srgb black', 1, 13, 'srgb', 0, 0, 0),
    ('srgb red', 1, 13, 'srgb', 1, 0, 0),
    ('srgb green', 1, 13, 'srgb', 0, 1, 0),
    ('srgb blue', 1, 13, 'srgb', 0, 0, 1),
    ('dark skin', 1, 13, 'srgb', 115 / 255, 82 / 255, 68 / 255),
    ('light skin', 1, 13, 'srgb', 194 / 255, 150 / 255, 130 / 255),
    ('blue sky', 1, 13, 'srgb', 98 / 255, 122 / 255, 157 / 255),
    ('foliage', 1, 13, 'srgb', 87 / 255, 108 / 255, 67 / 255),
    ('orange', 1, 13, 'srgb', 214 / 255, 126 / 255, 44 / 255),
    ('neutral 5', 1, 13, 'srgb', 122 / 255, 122 / 255, 121 / 255),
    ('negative input', 1, 13, 'srgb', -0.2, -0.1, -0.5),
    ('bt709 transfer takes srgb', 1, 1, 'srgb', 0.5, 0.25, 0.75),
    ('bt2020 sdr takes srgb', 9, 1, 'srgb', 0.5, 0.25, 0.75),
    ('p3 srgb transfer takes srgb', 12, 13, 'srgb', 0.5, 0.25, 0.75),
    ('pq 100 nits', 9, 16, 'bt2020-pq', pq_signal(100), pq_signal(100), pq_signal(100)),
    ('pq 1000 nits', 9, 16, 'bt2020-pq', pq_signal(1000), pq_signal(1000), pq_signal(1000)),
    ('pq 4000 nits', 9, 16, 'bt2020-pq', pq_signal(4000), pq_signal(4000), pq_signal(4000)),
    ('pq colour', 9, 16, 'bt2020-pq', 0.6, 0.45, 0.3),
    ('pq black', 9, 16, 'bt2020-pq', 0, 0, 0),
    ('hlg black lift', 9, 18, 'bt2020-hlg', 0, 0, 0),
    ('hlg peak white', 9, 18, 'bt2020-hlg', 1, 1, 1),
    ('hlg colour', 9, 18, 'bt2020-hlg', 0.8, 0.3, 0.1),
    ('hlg reference white', 9, 18, 'bt2020-hlg', 0.75, 0.75, 0.75),
    ('p3 red', 12, 1, 'p3-bt709', 1, 0, 0),
    ('p3 colour', 12, 1, 'p3-bt709', 0.5, 0.4, 0.3),
    ('p3 dark (linear segment)', 12, 1, 'p3-bt709', 0.05, 0.02, 0.07),
]


def float_literal(x):
    text = '%.9g' % f32(x)
    return text + ('f' if any(ch in text for ch in '.e') else '.0f')


def main():
    for label, prim, trc, space, r, g, b in CASES:
        lv, av, bv = to_lab(space, (r, g, b))
        print('    {"%s", %d, %d, %s, %s, %s, %.4f, %.4f, %.4f},'
              % (label, prim, trc, float_literal(r), float_literal(g), float_literal(b), lv, av, bv))


if __name__ == '__main__':
    main()
