"""The exception and the warning that replies turn into."""

from __future__ import annotations

from .enums import Message, MessageClass

FAIL_BIT = 0x80000000


def _message_of(status: int) -> Message | int:
    number = status & 0xFFFFF
    try:
        return Message(number)
    except ValueError:
        return number


def _class_of(status: int) -> MessageClass | int:
    value = (status >> 20) & 0x7FF
    try:
        return MessageClass(value)
    except ValueError:
        return value


def _describe(function: str, status: int, text: str) -> str:
    message = _message_of(status)
    error_class = _class_of(status)
    names = ", ".join(
        part.name if isinstance(part, (Message, MessageClass)) else str(part)
        for part in (error_class, message)
    )
    return f"{function}: {text or '(no text)'} [status 0x{status:08x}: {names}]"


class _ReplyDetails:
    """Fields shared by the error and the warning: what the reply said."""

    function: str
    status: int
    text: str

    def _set_reply(self, function: str, status: int, text: str) -> None:
        self.function = function
        self.status = status
        self.text = text

    @property
    def message(self) -> Message | int:
        """The message number (low bits of the status word), a Message when known."""
        return _message_of(self.status)

    @property
    def error_class(self) -> MessageClass | int:
        """The message class (bits 20 to 30), a MessageClass when known."""
        return _class_of(self.status)


class BramblekitError(_ReplyDetails, Exception):
    """A call that the library answered with the fail bit set.

    ``status`` is the whole 32-bit status word, ``message`` its message number,
    ``error_class`` its class, ``text`` the reply's text and ``function`` the
    exported function that answered.
    """

    def __init__(self, function: str, status: int, text: str) -> None:
        self._set_reply(function, status, text)
        super().__init__(_describe(function, status, text))


class BramblekitWarning(_ReplyDetails, UserWarning):
    """A PASSIVE fault: the call succeeded, but the reply reports a problem.

    The station's fail policy let the call pass; the fault is recorded in the
    session and the script goes on.  The same fields as BramblekitError.
    """

    def __init__(self, function: str, status: int, text: str) -> None:
        self._set_reply(function, status, text)
        super().__init__(_describe(function, status, text))
