#!/usr/bin/env python3
"""Expected values for tests/color_*_test.cpp and tests/lab_conversion_test.cpp,
computed in double precision straight from the published formulas (ITU-R
BT.709, BT.2020, BT.2100, SMPTE ST 2084, IEC 61966-2-1, IEC 61966-2-4, ITU-R
BT.2087, CIE 1976 L*a*b*). Run it and paste the printed numbers into the
tests; it shares no code with the library.
"""
import math
import struct


# --- Transfer curves -----------------------------------------------------
def bt709_eotf(x):  # BT.709 / BT.601 / BT.2020-10 inverse OETF
    return x / 4.5 if x < 0.081 else ((x + 0.099) / 1.099) ** (1 / 0.45)


def bt709_oetf(x):
    return 4.5 * x if x < 0.018 else 1.099 * x ** 0.45 - 0.099


def bt2020_12_eotf(x):
    return x / 4.5 if x < 0.08145 else ((x + 0.0993) / 1.0993) ** (1 / 0.45)


def bt2020_12_oetf(x):
    return 4.5 * x if x < 0.0181 else 1.0993 * x ** 0.45 - 0.0993


def srgb_eotf(x):
    return x / 12.92 if x < 0.04045 else ((x + 0.055) / 1.055) ** 2.4


def srgb_oetf(x):
    return 12.92 * x if x < 0.0031308 else 1.055 * x ** (1 / 2.4) - 0.055


def xvycc_eotf(x):
    if x <= 0:
        return -((-x) / 1.099) ** (1 / 0.45)
    return bt709_eotf(x)


def xvycc_oetf(x):
    if x <= -0.018:
        return 0.099 - 1.099 * (-x) ** 0.45
    return bt709_oetf(x)


HLG_A, HLG_B, HLG_C = 0.17883277, 0.28466892, 0.55991073


def hlg_oetf(x):
    return HLG_A * math.log(12 * x - HLG_B) + HLG_C if x > 1 / 12 else math.sqrt(3 * x)


def hlg_inv_oetf(x):
    return (math.exp((x - HLG_C) / HLG_A) + HLG_B) / 12 if x > 0.5 else x * x / 3


def hlg_eotf(rgb, lw=203.0, lb=0.005):
    gamma = 1.2 + 0.42 * math.log10(lw / 1000)
    beta = math.sqrt(3 * (lb / lw) ** (1 / gamma))
    e = [hlg_inv_oetf(max(0.0, (1 - beta) * x + beta)) for x in rgb]
    ys = 0.2627 * e[0] + 0.678 * e[1] + 0.0593 * e[2]
    return [ys ** (gamma - 1) * v for v in e], gamma, beta


M1, M2 = 2610 / 16384, 2523 / 4096 * 128
C1, C2, C3 = 3424 / 4096, 2413 / 4096 * 32, 2392 / 4096 * 32


def pq_eotf(x):  # signal -> linear, 1.0 = 10000 cd/m2
    f = x ** (1 / M2)
    return (max(0.0, f - C1) / (C2 - C3 * f)) ** (1 / M1)


def pq_oetf(y):
    f = y ** M1
    return ((C1 + C2 * f) / (1 + C3 * f)) ** M2


# --- CIE L*a*b* of one colour (convertToLab) ------------------------------
# Linear light: sRGB curve clamped to [0, 1]; inverse BT.709 curve (Display
# P3); PQ scaled so 1.0 = 1000 cd/m2; HLG display transform at Lw = 203. Then
# the normalised primary matrices (D65, rounded to seven digits) and L*a*b*
# with the classic constants 0.008856 and 7.787 and the white (0.950456, 1,
# 1.088754). Inputs are rounded to single precision, as the test passes floats.
MATRICES = {
    'srgb': [[0.4123908, 0.3575843, 0.1804808], [0.2126390, 0.7151687, 0.0721923],
             [0.0193308, 0.1191948, 0.9505322]],
    'p3': [[0.4865709, 0.2656677, 0.1982173], [0.2289746, 0.6917385, 0.0792869], [0.0, 0.0451134, 1.0439444]],
    'bt2020': [[0.6369580, 0.1446169, 0.1688810], [0.2627002, 0.6779981, 0.0593017], [0.0, 0.0280727, 1.0609851]],
}
LINEARISE = {
    'srgb': lambda rgb: [min(max(srgb_eotf(v), 0.0), 1.0) for v in rgb],
    'p3': lambda rgb: [bt709_eotf(v) for v in rgb],
    'bt2020-pq': lambda rgb: [pq_eotf(v) * 10 for v in rgb],
    'bt2020-hlg': lambda rgb: hlg_eotf(rgb)[0],
}


def f32(x):
    return struct.unpack('f', struct.pack('f', x))[0]


def to_lab(space, rgb):
    lin = LINEARISE[space]([f32(v) for v in rgb])
    m = MATRICES[space.split('-')[0]]
    xyz = [sum(m[k][i] * lin[i] for i in range(3)) / w for k, w in enumerate((0.950456, 1.0, 1.088754))]
    fx, fy, fz = (t ** (1 / 3) if t > 0.008856 else 7.787 * t + 16 / 116 for t in xyz)
    return max(116 * fy - 16, 0.0), 500 * (fx - fy), 200 * (fy - fz)


def pq_signal(nits):
    return pq_oetf(nits / 10000)


# (label, primaries, transfer, colour space the library takes for the pair, r, g, b)
LAB_CASES = [
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
    ('p3 red', 12, 1, 'p3', 1, 0, 0),
    ('p3 colour', 12, 1, 'p3', 0.5, 0.4, 0.3),
    ('p3 dark (linear segment)', 12, 1, 'p3', 0.05, 0.02, 0.07),
]


def float_literal(x):
    text = '%.9g' % f32(x)
    return text + ('f' if any(ch in text for ch in '.e') else '.0f')


def rnd(v):  # round half away from zero
    return int(math.floor(abs(v) + 0.5)) * (1 if v >= 0 else -1)


def main():
    print("# generic curves: transfer, x, eotf(x), oetf(x)")
    curves = {
        "BT709": (bt709_eotf, lambda x: min(max(bt709_oetf(x), 0), 1)),
        "SRGB": (lambda x: min(max(srgb_eotf(x), 0), 1), lambda x: min(max(srgb_oetf(x), 0), 1)),
        "G22": (lambda x: x ** 2.2, lambda x: x ** (1 / 2.2)),
        "G18": (lambda x: x ** 1.8, lambda x: x ** (1 / 1.8)),
        "DCIP3": (lambda x: x ** 2.6, lambda x: x ** (1 / 2.6)),
        "B2020_12": (bt2020_12_eotf, bt2020_12_oetf),
        "XVYCC": (xvycc_eotf, xvycc_oetf),
    }
    for name, (e, o) in curves.items():
        for x in (0.01, 0.2, 0.5, 0.9):
            print(f"{name:9s} x={x:<5} eotf={e(x):.9g} oetf={o(x):.9g}")
    print("xvYCC negatives: eotf(-0.5)=%.9g oetf(-0.5)=%.9g" % (xvycc_eotf(-0.5), xvycc_oetf(-0.5)))
    print("BT.601 oetf(1.5) unclamped = %.9g" % bt709_oetf(1.5))

    print("\n# HLG OETF (BT.2100): 1/12, 0.5, 1, inverse(0.75)")
    print(hlg_oetf(1 / 12), hlg_oetf(0.5), hlg_oetf(1.0), hlg_inv_oetf(0.75))
    for rgb in ([0.75, 0.75, 0.75], [1.0, 0.5, 0.25], [0.0, 0.0, 0.0]):
        out, g, b = hlg_eotf(rgb)
        print("HLG_EOTF", rgb, ["%.9g" % v for v in out], "gamma=%.10g beta=%.10g" % (g, b))

    print("\n# PQ (ST 2084): signal -> cd/m2")
    for x in (0.5, 0.75, 1.0):
        print(x, "%.6f" % (pq_eotf(x) * 10000))
    print("PQ_OETF(0.01)=%.9g (100 cd/m2)" % pq_oetf(0.01))

    print("\n# PQ->PQ, 16-bit RGB, identity primaries (BT.470BG -> SMPTE 170M)")
    for code in (20000, 40000, 60000):
        x = code / 65535
        lin = pq_eotf(x)
        print(code, "peak1000:", rnd(pq_oetf(lin * 10 * 0.1) * 65535),
              "peak10000:", rnd(pq_oetf(lin * 1 * 0.1) * 65535))

    print("\n# BT.709 RGB red -> BT.2020 (BT.2087 matrix column 0), 8-bit, BT.709 OETF")
    col = [0.6274, 0.0691, 0.0164]
    print([rnd(min(max(bt709_oetf(v), 0), 1) * 255) for v in col])

    print("\n# BT.709 limited 8-bit YUV -> RGB (library coefficients)")
    for y, u, v in ((126, 100, 200), (81, 90, 150)):
        yf, uf, vf = (y - 16) / 219, (u - 128) / 224, (v - 128) / 224
        rgb = (yf + 1.575 * vf, yf - 0.187 * uf - 0.468 * vf, yf + 1.856 * uf)
        print((y, u, v), [rnd(min(max(c, 0), 1) * 255) for c in rgb], rgb)


    print("\n# convertToLab rows for tests/lab_conversion_test.cpp")
    for label, prim, trc, space, r, g, b in LAB_CASES:
        lv, av, bv = to_lab(space, (r, g, b))
        print('    {"%s", %d, %d, %s, %s, %s, %.4f, %.4f, %.4f},'
              % (label, prim, trc, float_literal(r), float_literal(g), float_literal(b), lv, av, bv))


if __name__ == "__main__":
    main()
