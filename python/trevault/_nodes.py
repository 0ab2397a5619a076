"""Handles of the library as objects that know when they stand for nothing any more.

A handle dies when its parent is closed. Each open of a parent is one Life, which its children
share; the end of it makes each of them raise ClosedError. A handle may also die alone, when its
record is removed: the library then answers it like nothing, so an empty answer is believed only of
a node that still has a name.
"""
from __future__ import annotations

import os
from typing import Any, Callable, Collection, Dict, Iterator, List, Optional, Type, TypeVar

from ._library import LOCK, Name, decoded, encoded, flat, last_message
from ._native import ffi
from .errors import ClosedError, DatabaseError, GoneError, UnknownNameError


class Life:
    """From one open of a parent to its close. What ended it is "" as long as it lasts."""

    __slots__ = ("ended_by",)

    def __init__(self) -> None:
        self.ended_by = ""


class Node:
    """A handle. Its kind has the functions that name it, of which one answers."""

    _name_functions: List[Callable[[Any], Any]] = []

    def __init__(self, token: Any, life: Life) -> None:
        self._token = token
        self._life = life

    def __eq__(self, other: object) -> bool:
        return (isinstance(other, Node) and self._token == other._token
                and self._life is other._life)

    def __hash__(self) -> int:
        return hash(self._token)

    def _check(self) -> None:
        if self._life.ended_by:
            raise ClosedError("%s since this %s was found" % (self._life.ended_by, self._what()))

    def __reduce__(self) -> Any:
        raise TypeError("%s objects can't be copied or sent to another process: they belong to the "
                        "open database" % type(self).__name__)

    def _what(self) -> str:
        return type(self).__name__.lower()

    def _ask(self, function: Callable[..., Any], *arguments: Any) -> Any:
        """An answer of the library; an empty one only of what is there."""
        with LOCK:
            self._check()
            answer = flat(function, self._token, *arguments)
            if not answer or answer == -1:
                self._confirm()
            return answer

    def _bytes(self, function: Callable[..., Any]) -> bytes:
        with LOCK:
            self._check()
            text: bytes = ffi.string(flat(function, self._token))
            if not text:
                self._confirm()
            return text

    def _text(self, function: Callable[..., Any]) -> str:
        return decoded(self._bytes(function))

    def _confirm(self) -> None:
        if not any(ffi.string(name(self._token)) for name in self._name_functions):
            raise GoneError("there is no such %s any more" % self._what())

    @property
    def name(self) -> str:
        """The name that its record has."""
        return self._text(self._name_functions[0])

    @property
    def raw_name(self) -> bytes:
        """The same as the bytes that the data file has, whatever code page they are in."""
        return self._bytes(self._name_functions[0])

    @property
    def _subject(self) -> str:
        """What a message calls it."""
        return self.name

    def __repr__(self) -> str:
        try:
            return "<%s %r>" % (type(self).__name__, self._subject)
        except ClosedError:
            return "<%s, closed>" % type(self).__name__


N = TypeVar("N", bound=Node)


class Parent(Node):
    """A handle whose children live while it is open: from the first question about them on."""

    _open_function: Callable[[Any], int]
    _close_function: Callable[[Any], int]

    def __init__(self, token: Any, life: Life) -> None:
        super().__init__(token, life)
        self._open_life: Optional[Life] = None
        self._parents: Dict[Any, Parent] = {}  # Children that may be open, by their tokens.

    def _children_life(self) -> Life:
        """Opens it if it is closed."""
        with LOCK:
            self._check()
            if self._open_life is None:
                is_open = flat(self._open_function, self._token) >= 0
                message = last_message()
                if not is_open:
                    self._confirm()
                if message or not is_open:  # Half of a list must not look like all of it.
                    flat(self._close_function, self._token)
                    raise DatabaseError(message or "%r can't be opened" % self)
                self._open_life = Life()
            return self._open_life

    def _end(self, why: str) -> None:
        """All that was found in it stands for nothing from now on."""
        for parent in self._parents.values():
            parent._end(why)
        self._parents.clear()
        if self._open_life is not None:
            self._open_life.ended_by = why
            self._open_life = None

    def refresh(self) -> None:
        """Closes it; what is asked next reads the data files again, and shows what others changed.
        Objects that were found in it before raise ClosedError."""
        with LOCK:
            if self._life.ended_by or self._open_life is None:
                return
            self._end("%r was closed" % self)
            flat(self._close_function, self._token)

    def _walk(self, first: Callable[[Any], Any], next_one: Callable[[Any], Any],
              kind: Type[N]) -> List[N]:
        """All children of a kind. A walk that has reached its end leaves nothing open."""
        with LOCK:
            life = self._children_life()
            found = []
            token = flat(first, self._token)
            while token:
                found.append(self._child(token, kind, life))
                token = next_one(self._token)
            return found

    def _child(self, token: Any, kind: Type[N], life: Life) -> N:
        raise NotImplementedError

    def _destroy(self, child: Node, function: Callable[[Any], None]) -> None:
        """Takes the child's record away, for good."""
        with LOCK:
            child._check()
            child._confirm()
            flat(function, child._token)
            message = last_message()
            try:
                child._confirm()
            except GoneError:
                if isinstance(child, Parent):
                    child._end("its %s was removed" % child._what())
                return
            raise DatabaseError(message or "%r could not be removed" % child)

    def _find(self, function: Callable[..., Any], name: Name, kind: Type[N]) -> Optional[N]:
        with LOCK:
            life = self._children_life()
            token = flat(function, self._token, encoded(name))
            return self._child(token, kind, life) if token else None


class Children(Collection[N]):
    """The children of one kind, in the library's order; read anew by each loop."""

    def __init__(self, parent: Parent, kind: Type[N], first: Callable[[Any], Any],
                 next_one: Callable[[Any], Any], find: Callable[..., Any]) -> None:
        self._parent, self._kind, self._find = parent, kind, find
        self._first, self._next = first, next_one

    def _all(self) -> List[N]:
        return self._parent._walk(self._first, self._next, self._kind)

    def __iter__(self) -> Iterator[N]:
        for child in self._all():
            child._check()  # The loop may have closed what they were found in.
            yield child

    def __len__(self) -> int:
        return len(self._all())

    def __contains__(self, item: object) -> bool:
        if isinstance(item, (str, bytes, os.PathLike)):
            return self.get(item) is not None
        return item in self._all()

    def get(self, name: Name) -> Optional[N]:
        """The child of exactly that name, else one whose name differs in the case of A to Z alone;
        None if there is neither."""
        return self._search(self._find, self._kind._name_functions[0], name)

    def _search(self, find: Callable[..., Any], name_of: Callable[[Any], Any],
                name: Name) -> Optional[N]:
        with LOCK:
            found = self._parent._find(find, name, self._kind)
            if found is None or found._bytes(name_of) == encoded(name):
                return found
            exact = (each for each in self._all() if each._bytes(name_of) == encoded(name))
            return next(exact, found)

    def __getitem__(self, name: Name) -> N:
        found = self.get(name)
        if found is None:
            kind = self._kind.__name__.lower()
            raise UnknownNameError("%r has no %s %r" % (self._parent, kind, name))
        return found

    def __repr__(self) -> str:
        try:
            return "[%s]" % ", ".join(map(repr, self._all()))
        except ClosedError:
            return "<%ss, closed>" % self._kind.__name__
