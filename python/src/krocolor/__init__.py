"""libKROColorFunctions for NumPy: converts video frames and images between
pixel formats and colour spaces.

Frames are sequences of NumPy arrays, one per plane: 2-D for planes of single
samples (a Y plane), H x W x C for interleaved ones (RGBA, the NV12 UV
plane); uint8, or uint16 in the format's byte order for deeper formats.
Formats, colour values and backends take the names the ``krocolor`` command
line takes (FFmpeg names and their aliases) or their numeric codes.
"""

from __future__ import annotations

import enum
import os
from typing import Any, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

from . import _krocolor
from ._errors import Error

__all__ = [
    "Converter", "Error", "Primaries", "Transfer", "Matrix", "Range", "PixelFormat",
    "FormatInfo", "ColorName", "formats", "colors", "crop", "rotate", "icc", "lab", "embedded_profile",
]


class FormatInfo(NamedTuple):
    code: int
    name: str
    aliases: Tuple[str, ...]
    memory: str  # "host", "gl", "cuda" or "d3d11"
    planes: int
    depth: int
    bytes_per_sample: int
    subsampling: str
    summary: str


class ColorName(NamedTuple):
    kind: str  # "primaries", "transfer", "matrix" or "range"
    code: int
    name: str
    aliases: Tuple[str, ...]
    summary: str


def formats() -> list:
    """Every pixel format: the command line's table."""
    return [FormatInfo(c, n, tuple(a.split()), m, p, d, b, s, t) for c, n, a, m, p, d, b, s, t in _krocolor.formats()]


def colors() -> list:
    """Every named colour value: the command line's table."""
    return [ColorName(k, c, n, tuple(a.split()), s) for k, c, n, a, s in _krocolor.colors()]


def _member(name: str) -> str:
    return name.upper().replace("-", "_").replace(".", "_")


# The enumerations are built from the same tables, so names match the
# command line's canonical spellings (BT709, SMPTE2084, YUV420P10LE, ...).
def _color_enum(kind: str, cls: str) -> Any:
    return enum.IntEnum(cls, [(_member(c.name), c.code) for c in colors() if c.kind == kind], module=__name__)


Primaries = _color_enum("primaries", "Primaries")
Transfer = _color_enum("transfer", "Transfer")
Matrix = _color_enum("matrix", "Matrix")
Range = _color_enum("range", "Range")
PixelFormat = enum.IntEnum("PixelFormat", [(_member(f.name), f.code) for f in formats()], module=__name__)

_COLOR_KEYS = ("primaries", "transfer", "matrix", "range")
_UNSPECIFIED = {"primaries": 2, "transfer": 2, "matrix": 2, "range": 0}
_BACKENDS = {"cpu": 0, "swscale": 1, "simd": 6}

ColorValue = Union[str, int]
Size = Tuple[int, int]


def _format_key(fmt: Union[str, int]) -> str:
    if isinstance(fmt, bool) or not isinstance(fmt, (str, int)):
        raise TypeError(f"pixel format must be a name or a code, not {type(fmt).__name__}")
    return str(int(fmt)) if isinstance(fmt, int) else fmt


def _color_code(kind: str, value: ColorValue) -> int:
    if isinstance(value, str):
        return _krocolor.parse_color(kind, value)
    if isinstance(value, int) and not isinstance(value, bool):
        return int(value)
    raise TypeError(f"{kind} must be a name or a number, not {type(value).__name__}")


def _color_side(side: str, description: Optional[Mapping[str, ColorValue]]) -> list:
    description = dict(description or {})
    unknown = set(description) - set(_COLOR_KEYS)
    if unknown:
        raise ValueError(f"{side}: unknown key(s) {sorted(unknown)}; expected {', '.join(_COLOR_KEYS)}")
    return [_color_code(k, description[k]) if k in description else _UNSPECIFIED[k] for k in _COLOR_KEYS]


def _size(name: str, size: Size) -> Size:
    try:
        width, height = (int(v) for v in size)
    except (TypeError, ValueError):
        raise TypeError(f"{name} must be (width, height)") from None
    return width, height


def _backend(backend: str) -> int:
    if backend not in _BACKENDS:
        raise ValueError(f"unknown backend '{backend}'; NumPy frames convert on {', '.join(_BACKENDS)}")
    return _BACKENDS[backend]


class Converter:
    """Converts frames of one description into frames of another.

    ``src`` and ``dst`` map ``primaries``, ``transfer``, ``matrix`` and
    ``range`` to names, numbers or enumeration members; a key left out is
    unspecified and takes the library's default for the frame size. One
    converter may be shared by threads: calls on it run one at a time, with
    the GIL released while the frame converts.
    """

    def __init__(self, src_format: Union[str, int], src_size: Size, dst_format: Union[str, int], dst_size: Size,
                 *, src: Optional[Mapping[str, ColorValue]] = None, dst: Optional[Mapping[str, ColorValue]] = None,
                 backend: str = "cpu", keep_source_color: bool = False,
                 metadata: Optional[Mapping[str, Any]] = None) -> None:
        self._core = _krocolor.Converter(
            _format_key(src_format), *_size("src_size", src_size), _format_key(dst_format),
            *_size("dst_size", dst_size), _backend(backend), _color_side("src", src) + _color_side("dst", dst),
            bool(keep_source_color), {str(k): str(v) for k, v in (metadata or {}).items()}, None, None)
        self.convert = self._core.convert  # no Python frame between the caller and the conversion

    def convert(self, planes: Sequence[Any], out: Optional[Sequence[Any]] = None) -> list:  # replaced per object
        """Converts one frame; returns the destination planes (``out`` when given)."""
        return self._core.convert(planes, out)

    src_format = property(lambda self: self._core.src_format)
    dst_format = property(lambda self: self._core.dst_format)
    src_size = property(lambda self: self._core.src_size)
    dst_size = property(lambda self: self._core.dst_size)

    def __repr__(self) -> str:
        return (f"Converter({self.src_format!r}, {self.src_size}, {self.dst_format!r}, {self.dst_size})")


def crop(planes: Sequence[Any], format: Union[str, int], x: int, y: int, width: int, height: int,
         *, out: Optional[Sequence[Any]] = None) -> list:
    """Cuts the rectangle (x, y, width, height) out of a frame; the frame size
    is that of plane 0."""
    return _krocolor.crop(planes, _format_key(format), x, y, width, height, out)


def rotate(planes: Sequence[Any], format: Union[str, int], orientation: int,
           *, out: Optional[Sequence[Any]] = None) -> list:
    """Re-orients a frame by an EXIF orientation (1-8); 5-8 swap width and height."""
    return _krocolor.rotate(planes, _format_key(format), int(orientation), out)


_PROFILE_NAMES = {"displayp3": "displayp3", "display-p3": "displayp3",
                  "adobergb": "adobergb", "adobe-rgb": "adobergb", "adobe": "adobergb"}


def embedded_profile(name: str) -> bytes:
    """The library's embedded ICC profile ``displayp3`` or ``adobergb``."""
    if name not in _PROFILE_NAMES:
        raise ValueError(f"no embedded profile '{name}'; there are displayp3 and adobergb")
    return _krocolor.embedded_profile(_PROFILE_NAMES[name])


def _profile_bytes(profile: Union[None, str, bytes, os.PathLike]) -> Optional[bytes]:
    if profile is None or profile == "srgb":
        return None  # the library's built-in sRGB
    if isinstance(profile, (bytes, bytearray, memoryview)):
        return bytes(profile)
    if isinstance(profile, str) and profile in _PROFILE_NAMES:
        return embedded_profile(profile)
    with open(profile, "rb") as f:
        return f.read()


def icc(planes: Sequence[Any], src_format: Union[str, int], dst_format: Union[str, int],
        *, src_profile: Union[None, str, bytes, os.PathLike] = None,
        dst_profile: Union[None, str, bytes, os.PathLike] = None, dst_size: Optional[Size] = None,
        out: Optional[Sequence[Any]] = None) -> list:
    """Converts packed RGB/RGBA (8 or 16 bit, or 8-bit CMYK as source) by ICC
    profiles: bytes, a file path, ``srgb``, ``displayp3`` or ``adobergb``
    (absent means sRGB). The frame size is that of plane 0."""
    first = planes[0] if isinstance(planes, (list, tuple)) else planes
    size = (first.shape[1], first.shape[0])
    src, dst = _profile_bytes(src_profile), _profile_bytes(dst_profile)
    core = _krocolor.Converter(_format_key(src_format), *size, _format_key(dst_format),
                               *(_size("dst_size", dst_size) if dst_size else size), 0, [0] * 8, False, {},
                               src if src is not None else b"", dst if dst is not None else b"")
    return core.convert(planes, out)


def lab(r: float, g: float, b: float, *, primaries: ColorValue = "bt709",
        transfer: ColorValue = "iec61966-2-1") -> Tuple[float, float, float]:
    """One non-linear RGB colour (signal values, nominally 0-1) of the named
    colour space to CIE L*a*b* relative to D65."""
    return _krocolor.lab(_color_code("primaries", primaries), _color_code("transfer", transfer), r, g, b)
