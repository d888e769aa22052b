import importlib.util
import pathlib

TOOL = pathlib.Path(__file__).resolve().parents[1] / "tools" / "update_stub_enums.py"


def test_stub_enumerations_match_the_tables():
    found = importlib.util.spec_from_file_location("update_stub_enums", TOOL)
    tool = importlib.util.module_from_spec(found)
    found.loader.exec_module(tool)
    text = tool.STUB.read_text()
    assert tool.updated(text) == text, "run python/tools/update_stub_enums.py"
