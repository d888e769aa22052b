"""Rewrites the enumeration members in src/krocolor/__init__.pyi from the
installed krocolor package's tables. Run after changing a format or colour
name table: python python/tools/update_stub_enums.py"""

import pathlib
import re

import krocolor

STUB = pathlib.Path(__file__).resolve().parents[1] / "src" / "krocolor" / "__init__.pyi"


def enum_section() -> str:
    lines = []
    for cls in (krocolor.Primaries, krocolor.Transfer, krocolor.Matrix, krocolor.Range, krocolor.PixelFormat):
        lines.append(f"class {cls.__name__}(enum.IntEnum):")
        lines += [f"    {m.name} = {m.value}" for m in cls]
        lines.append("")
    return "\n".join(lines)


def updated(text: str) -> str:
    return re.sub(r"(# BEGIN ENUMS\n).*?(# END ENUMS)", lambda m: m.group(1) + enum_section() + m.group(2), text,
                  flags=re.S)


if __name__ == "__main__":
    STUB.write_text(updated(STUB.read_text()))
