# Type stubs of the krocolor package. The enumeration members between the
# markers are written by python/tools/update_stub_enums.py from the format and
# colour tables; tests/test_stubs.py fails while they are stale.
import enum
import os
from typing import Any, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

Plane = npt.NDArray[Union[np.uint8, np.uint16]]
Planes = Union[Plane, Sequence[Plane]]
ColorValue = Union[str, int]
ColorDescription = Mapping[str, ColorValue]  # keys: primaries, transfer, matrix, range
FormatName = Union[str, int]
Size = Tuple[int, int]  # (width, height)
Profile = Union[None, str, bytes, os.PathLike]

class Error(Exception):
    code: int
    message: str
    def __init__(self, code: int, message: str) -> None: ...

class FormatInfo(NamedTuple):
    code: int
    name: str
    aliases: Tuple[str, ...]
    memory: str
    planes: int
    depth: int
    bytes_per_sample: int
    subsampling: str
    summary: str

class ColorName(NamedTuple):
    kind: str
    code: int
    name: str
    aliases: Tuple[str, ...]
    summary: str

class Converter:
    src_format: str
    dst_format: str
    src_size: Size
    dst_size: Size
    def __init__(self, src_format: FormatName, src_size: Size, dst_format: FormatName, dst_size: Size, *,
                 src: Optional[ColorDescription] = ..., dst: Optional[ColorDescription] = ...,
                 backend: str = ..., keep_source_color: bool = ...,
                 metadata: Optional[Mapping[str, Any]] = ...) -> None: ...
    def convert(self, planes: Planes, out: Optional[Planes] = ...) -> List[Plane]: ...

def formats() -> List[FormatInfo]: ...
def colors() -> List[ColorName]: ...
def crop(planes: Planes, format: FormatName, x: int, y: int, width: int, height: int, *,
         out: Optional[Planes] = ...) -> List[Plane]: ...
def rotate(planes: Planes, format: FormatName, orientation: int, *, out: Optional[Planes] = ...) -> List[Plane]: ...
def embedded_profile(name: str) -> bytes: ...
def icc(planes: Planes, src_format: FormatName, dst_format: FormatName, *, src_profile: Profile = ...,
        dst_profile: Profile = ..., dst_size: Optional[Size] = ..., out: Optional[Planes] = ...) -> List[Plane]: ...
def lab(r: float, g: float, b: float, *, primaries: ColorValue = ..., transfer: ColorValue = ...
        ) -> Tuple[float, float, float]: ...

# BEGIN ENUMS
class Primaries(enum.IntEnum):
    RESERVED0 = 0
    BT709 = 1
    UNKNOWN = 2
    RESERVED = 3
    BT470M = 4
    BT470BG = 5
    SMPTE170M = 6
    SMPTE240M = 7
    FILM = 8
    BT2020 = 9
    SMPTE428 = 10
    SMPTE431 = 11
    SMPTE432 = 12
    EBU3213 = 22
    ADOBE = 23
    PROPHOTO = 24

class Transfer(enum.IntEnum):
    RESERVED0 = 0
    BT709 = 1
    UNKNOWN = 2
    RESERVED = 3
    GAMMA22 = 4
    GAMMA28 = 5
    SMPTE170M = 6
    SMPTE240M = 7
    LINEAR = 8
    LOG100 = 9
    LOG316 = 10
    IEC61966_2_4 = 11
    BT1361E = 12
    IEC61966_2_1 = 13
    BT2020_10 = 14
    BT2020_12 = 15
    SMPTE2084 = 16
    SMPTE428 = 17
    ARIB_STD_B67 = 18
    GAMMA18 = 19
    GAMMA26 = 100

class Matrix(enum.IntEnum):
    GBR = 0
    BT709 = 1
    UNKNOWN = 2
    RESERVED = 3
    FCC = 4
    BT470BG = 5
    SMPTE170M = 6
    SMPTE240M = 7
    YCGCO = 8
    BT2020NC = 9
    BT2020C = 10
    SMPTE2085 = 11
    CHROMA_DERIVED_NC = 12
    CHROMA_DERIVED_C = 13
    ICTCP = 14

class Range(enum.IntEnum):
    UNKNOWN = 0
    TV = 1
    PC = 2

class PixelFormat(enum.IntEnum):
    RGB24 = 101
    RGBA = 102
    NV12 = 103
    YUV420P = 104
    YUV422P = 105
    YUV444P = 106
    YUV420P10LE = 107
    P010LE = 108
    P016LE = 109
    YUV422P10LE = 110
    YUV444P10LE = 111
    YUV444P12LE = 112
    YUV444P16LE = 113
    RGBA64LE = 114
    RGBA64BE = 115
    YUV411P = 116
    RGB48LE = 117
    RGB48BE = 118
    BGR24 = 119
    BGRA = 120
    A8 = 121
    GRAY = 122
    YA8 = 123
    YUVA444P10LE = 124
    YUVA444P12LE = 125
    CMYK = 126
    GL_RGBA = 201
    GL_RGBA_HALF = 202
    GL_RGB = 203
    CUDA_RGB24 = 301
    CUDA_RGBA = 302
    CUDA_NV12 = 303
    CUDA_YUV420P = 304
    CUDA_YUV444P = 305
    CUDA_YUV420P10LE = 306
    CUDA_P010LE = 307
    CUDA_P016LE = 308
    CUDA_YUV422P10LE = 309
    CUDA_BGR24 = 310
    CUDA_BGRA = 311
    CUDA_GBRP = 312
    CUDA_RGB48LE = 313
    CUDA_RGBA64LE = 314
    CUDA_GBRP16LE = 315
    CUDA_GBRP10LE = 316
    CUDA_YUV444P10LE = 317
    CUDA_YUV444P12LE = 318
    CUDA_YUV444P16LE = 319
    CUDA_YUVA444P10LE = 320
    CUDA_YUVA444P12LE = 321
    D3D11_RGBA = 401
    D3D11_BGRA = 402
    D3D11_NV12 = 403
    D3D11_P010 = 404
    D3D11_RGBA64 = 406
# END ENUMS
