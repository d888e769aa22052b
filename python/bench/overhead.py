"""Per-call cost of the Python binding over the C++ call, at 1920x1080.

For each conversion the same converter object converts the same NumPy planes
(a) from C++ alone, `transcode` in a loop (Converter.transcode_loop), and
(b) from Python, `convert(planes, out=...)` and `convert(planes)` (which
allocates the destination). Batches of the three alternate so that load from
other processes falls on all of them; the figure is the fastest batch of each
(per call), and the overhead their difference; the median of the
differences within one round is printed beside it.

Usage: python python/bench/overhead.py [rounds]
"""

import sys
import time

import numpy as np

import krocolor

W, H = 1920, 1080
BATCH = 20


def per_call(fn):
    start = time.perf_counter()
    for _ in range(BATCH):
        fn()
    return (time.perf_counter() - start) / BATCH


def measure(name, src_fmt, dst_fmt, rounds, **colors):
    conv = krocolor.Converter(src_fmt, (W, H), dst_fmt, (W, H), **colors)
    rng = np.random.default_rng(1)
    planes = [rng.integers(16, 236, (H, W), dtype=np.uint8), rng.integers(16, 240, (H // 2, W // 2, 2), dtype=np.uint8)]
    out = conv.convert(planes)
    native, with_out, alloc = [], [], []
    for _ in range(rounds):
        native.append(conv._core.transcode_loop(planes, out, BATCH) / BATCH)
        with_out.append(per_call(lambda: conv.convert(planes, out=out)))
        alloc.append(per_call(lambda: conv.convert(planes)))
    n, o, a = min(native), min(with_out), min(alloc)
    paired_o = np.median(np.subtract(with_out, native)) * 1e6
    paired_a = np.median(np.subtract(alloc, native)) * 1e6
    print(f"{name:28s} C++ {n * 1e3:8.3f} ms | out= {o * 1e3:8.3f} ms, +{(o - n) * 1e6:5.1f} us"
          f" (median {paired_o:+5.1f}) | allocating {a * 1e3:8.3f} ms, +{(a - n) * 1e6:5.1f} us"
          f" (median {paired_a:+5.1f})")


if __name__ == "__main__":
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 15
    tv = dict(primaries="bt709", transfer="bt709", matrix="bt709", range="tv")
    measure("nv12 -> nv12 (plane copy)", "nv12", "nv12", rounds * 4, src=tv, dst=tv)
    measure("nv12 -> rgba, cpu", "nv12", "rgba", rounds, src=tv,
            dst=dict(primaries="bt709", transfer="iec61966-2-1", matrix="gbr", range="pc"))
