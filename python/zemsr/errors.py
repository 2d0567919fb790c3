"""Statuses as Python exceptions and warnings.

Every negative status of the library is an exception class derived from
``ZemError``; every positive one is a warning class derived from ``ZemWarning``
(results are delivered, so the call returns normally after the warning).  Both
carry ``status`` (the number) and ``name`` (the status name of the C header).
"""
import warnings

from ._exports import STATUS


class ZemError(Exception):
    """A call that the library refused; nothing was written."""

    status = None
    name = None

    def __init__(self, function=None):
        self.function = function
        where = " in %s" % function if function else ""
        super().__init__("%s (%d)%s" % (self.name, self.status, where))


class ZemWarning(UserWarning):
    """A call that delivered its results with a warning."""

    status = None
    name = None


def _class_name(status_name, suffix):
    short = status_name[len("zemStatus"):] if status_name.startswith("zemStatus") else status_name
    return short if short.endswith(suffix) else short + suffix


BY_STATUS = {}
for _name, _number in STATUS.items():
    if _number == 0:
        continue
    _base, _suffix = (ZemError, "Error") if _number < 0 else (ZemWarning, "Warning")
    _cls = type(_class_name(_name, _suffix), (_base,), {"status": _number, "name": _name})
    BY_STATUS[_number] = _cls
    globals()[_cls.__name__] = _cls


def _unknown(number):
    base = ZemError if number < 0 else ZemWarning
    cls = type("Status%dUnknown" % number, (base,), {"status": number, "name": "status %d" % number})
    BY_STATUS[number] = cls
    return cls


def check(status, function):
    """Raises the status's exception, or emits its warning and returns the status."""
    if status == 0:
        return 0
    cls = BY_STATUS.get(status) or _unknown(status)
    if status < 0:
        raise cls(function)
    warnings.warn(cls("%s (%d) in %s" % (cls.name, status, function)), stacklevel=3)
    return status
