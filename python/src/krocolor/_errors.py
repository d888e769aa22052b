"""The exception every refused conversion raises."""


class Error(Exception):
    """A call the library refused: ``code`` is its KROReturn value and
    ``message`` the library's own text for it."""

    def __init__(self, code: int, message: str) -> None:
        super().__init__(f"{message} (KROReturn {code})")
        self.code = code
        self.message = message
