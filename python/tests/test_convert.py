import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import krocolor

HOST_FRAME_FORMATS = [f for f in krocolor.formats()
                      if f.memory == "host" and f.name not in ("a8", "gray", "ya8")]
BT709_TV = dict(primaries="bt709", transfer="bt709", matrix="bt709", range="tv")
SRGB_PC = dict(primaries="bt709", transfer="iec61966-2-1", matrix="gbr", range="pc")


@pytest.mark.parametrize("backend", ["cpu", "simd", "swscale"])
@pytest.mark.parametrize("width,height", [(320, 180), (61, 35)])
def test_nv12_to_rgba_equals_the_command_line(krocolor_cli, tmp_path, rng, backend, width, height):
    cw, ch = (width + 1) // 2, (height + 1) // 2
    y = rng.integers(16, 236, (height, width), dtype=np.uint8)
    uv = rng.integers(16, 241, (ch, cw, 2), dtype=np.uint8)
    (tmp_path / "in.nv12").write_bytes(y.tobytes() + uv.tobytes())
    subprocess.run([krocolor_cli, "convert", str(tmp_path / "in.nv12"), str(tmp_path / "out.rgba"),
                    "-s", f"{width}x{height}", "--in-format", "nv12", "--out-format", "rgba",
                    "--backend", backend, "--in-primaries", "bt709", "--in-transfer", "bt709",
                    "--in-matrix", "bt709", "--in-range", "tv", "--primaries", "bt709",
                    "--transfer", "iec61966-2-1", "--matrix", "gbr", "--range", "pc"],
                   check=True, capture_output=True)
    expected = (tmp_path / "out.rgba").read_bytes()

    conv = krocolor.Converter("nv12", (width, height), "rgba", (width, height), src=BT709_TV, dst=SRGB_PC,
                              backend=backend)
    (rgba,) = conv.convert([y, uv])
    assert rgba.shape == (height, width, 4)
    assert rgba.tobytes() == expected


def _block_image(rng, width, height):
    # Colours constant over 4x2 blocks survive every chroma subsampling;
    # values inside 16..235 keep limited-range formats away from clipping.
    blocks = rng.integers(20, 230, ((height + 1) // 2, (width + 3) // 4, 3), dtype=np.uint8)
    return np.ascontiguousarray(blocks.repeat(2, axis=0).repeat(4, axis=1)[:height, :width])


@pytest.mark.parametrize("fmt", HOST_FRAME_FORMATS, ids=lambda f: f.name)
def test_round_trip_through_every_host_format(rng, fmt):
    width, height = 40, 18
    rgb = _block_image(rng, width, height)
    video = dict(matrix="bt709", range="pc", primaries="bt709", transfer="bt709")
    rgb_side = dict(SRGB_PC, transfer="bt709")
    there = krocolor.Converter("rgb24", (width, height), fmt.code, (width, height), src=rgb_side,
                               dst=rgb_side if fmt.subsampling == "-" else video)
    planes = there.convert(rgb)
    assert len(planes) == fmt.planes
    back = krocolor.Converter(fmt.name, (width, height), "rgb24", (width, height),
                              src=rgb_side if fmt.subsampling == "-" else video, dst=rgb_side)
    (result,) = back.convert(planes)
    # 8-bit YUV rounds twice through the matrix; deeper formats lose nothing
    # an 8-bit result can show.
    tolerance = 2 if fmt.depth == 8 and fmt.subsampling != "-" else 1 if fmt.name == "cmyk" else 0
    assert np.abs(result.astype(int) - rgb).max() <= tolerance


def test_names_codes_and_enum_members_describe_the_same_conversion(rng):
    y = rng.integers(64, 940, (16, 32), dtype="<u2")
    uv = rng.integers(64, 960, (8, 16), dtype="<u2")
    planes = [y, uv, uv.copy()]
    outs = []
    for fmt, src in [("yuv420p10le", dict(primaries="bt2020", transfer="pq", matrix="bt2020nc", range="tv")),
                     (107, dict(primaries=9, transfer=16, matrix=9, range=1)),
                     (krocolor.PixelFormat.YUV420P10LE,
                      dict(primaries=krocolor.Primaries.BT2020, transfer=krocolor.Transfer.SMPTE2084,
                           matrix=krocolor.Matrix.BT2020NC, range=krocolor.Range.TV))]:
        conv = krocolor.Converter(fmt, (32, 16), "i420", (32, 16), src=src, dst=BT709_TV,
                                  metadata={"src_max_luminance": 1000})
        outs.append([p.copy() for p in conv.convert(planes)])
    for other in outs[1:]:
        assert all(np.array_equal(a, b) for a, b in zip(outs[0], other))


def test_out_arrays_and_padded_views_are_used_in_place(rng):
    # Views into wider arrays: rows 48 pixels apart, 32 pixels wide. The
    # same description on both sides is a plain copy; the margins around the
    # destination view must stay as they were.
    src_base = rng.integers(0, 256, (20, 48, 4), dtype=np.uint8)
    dst_base = np.full((20, 48, 4), 7, np.uint8)
    src, dst = src_base[2:18, 8:40], dst_base[2:18, 8:40]
    conv = krocolor.Converter("rgba", (32, 16), "rgba", (32, 16), src=SRGB_PC, dst=SRGB_PC)
    (result,) = conv.convert([src], out=[dst])
    assert result is dst or np.shares_memory(result, dst)
    assert np.array_equal(dst, src)
    dst[...] = 7
    assert (dst_base == 7).all()


def _nv12(rows=24, cols=32):
    return [np.zeros((rows, cols), np.uint8), np.zeros((rows // 2, cols // 2, 2), np.uint8)]


@pytest.mark.parametrize("case,planes,message", [
    ("wrong shape", lambda: [_nv12()[0], np.zeros((12, 16), np.uint8)],
     "src plane 1: expected a uint8 array of shape (12, 16, 2)"),
    ("wrong dtype", lambda: [_nv12()[0].astype(np.uint16), _nv12()[1]],
     "src plane 0: expected a uint8 array of shape (24, 32)"),
    ("samples not contiguous", lambda: [np.zeros((24, 64), np.uint8)[:, ::2], _nv12()[1]],
     "strides (64, 2)"),
    ("channels not contiguous", lambda: [_nv12()[0], np.zeros((12, 16, 4), np.uint8)[:, :, ::2]],
     "src plane 1: expected a uint8 array of shape (12, 16, 2)"),
    ("one plane missing", lambda: _nv12()[:1], "nv12 has 2 planes, got 1 array"),
    ("not an array", lambda: [_nv12()[0], [[0]]], "src plane 1: expected"),
])
def test_unfit_planes_are_refused_with_the_expected_layout(case, planes, message):
    conv = krocolor.Converter("nv12", (32, 24), "rgba", (32, 24))
    with pytest.raises(ValueError) as raised:
        conv.convert(planes())
    assert message in str(raised.value)


def test_unfit_outputs_are_refused():
    conv = krocolor.Converter("rgba", (8, 4), "rgba64be", (8, 4))
    src = np.zeros((4, 8, 4), np.uint8)
    with pytest.raises(ValueError, match=r"out plane 0: expected a >u2 array of shape \(4, 8, 4\)"):
        conv.convert([src], out=[np.zeros((4, 8, 4), "<u2")])
    readonly = np.zeros((4, 8, 4), ">u2")
    readonly.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        conv.convert([src], out=[readonly])


def test_refusals_of_the_library_raise_its_code_and_message():
    with pytest.raises(krocolor.Error) as raised:
        krocolor.Converter("nv12", (32, 24), "rgba", (32, 24), src=dict(primaries=25))
    assert raised.value.code == 3 and "primaries" in raised.value.message
    with pytest.raises(ValueError, match="unknown transfer 'sdr'"):
        krocolor.Converter("nv12", (32, 24), "rgba", (32, 24), dst=dict(transfer="sdr"))
    with pytest.raises(ValueError, match="not a host frame format"):
        krocolor.Converter("cuda-nv12", (32, 24), "rgba", (32, 24))
    with pytest.raises(krocolor.Error) as raised:
        krocolor.icc([np.zeros((4, 4, 3), np.uint8)], "rgb24", "rgb24", src_profile=bytes(131))
    assert raised.value.code == 27


def test_conversions_on_two_threads_overlap():
    width, height = 1920, 1080
    planes = [np.full((height, width), 100, np.uint8), np.full((height // 2, width // 2, 2), 120, np.uint8)]
    convs = [krocolor.Converter("nv12", (width, height), "rgba", (width, height)) for _ in range(2)]
    outs = [c.convert(planes) for c in convs]
    spans = [None, None]
    barrier = threading.Barrier(2)

    def work(i):
        barrier.wait()
        start = time.perf_counter()
        convs[i].convert(planes, out=outs[i])
        spans[i] = (start, time.perf_counter())

    # With a switch interval longer than a conversion, a thread holding the
    # GIL through convert() finishes before the other starts in every round;
    # a busy machine may start one late, so one overlapping round proves it.
    def overlapped():
        threads = [threading.Thread(target=work, args=(i,)) for i in range(2)]
        for t in threads:
            t.start()
        for t in threads:
            t.join()
        return max(s[0] for s in spans) < min(s[1] for s in spans)

    old = sys.getswitchinterval()
    sys.setswitchinterval(5.0)
    try:
        assert any(overlapped() for _ in range(10))
    finally:
        sys.setswitchinterval(old)
