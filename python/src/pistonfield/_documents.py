# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Parts that several docstrings share."""

from __future__ import annotations

import re
from collections.abc import Callable
from textwrap import indent
from typing import Any, TypeVar

_Callable = TypeVar("_Callable", bound=Callable[..., Any])


def documented(**parts: str) -> Callable[[_Callable], _Callable]:
    """Put parts of a docstring where it names them in braces, alone in a line."""

    def decorate(function: _Callable) -> _Callable:
        text = function.__doc__
        # Without docstrings, python -OO.
        if text is not None:
            for name, part in parts.items():
                found = re.search(rf"^( *)\{{{name}\}}$", text, re.M)
                if found is None:
                    raise ValueError(f"{function.__name__} does not name {name}")
                text = text[: found.start()] + indent(part, found[1]) + text[found.end() :]
            function.__doc__ = text
        return function

    return decorate
