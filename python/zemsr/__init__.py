"""zemsr: numeric primitives for speech recognition over numpy arrays.

``zemsr.lowlevel`` holds every export of the C library under its C name; the
functions here do the common jobs in one call each.
"""
from . import errors, lowlevel
from .errors import ZemError, ZemWarning
from .lowlevel import Record, live_allocations

__all__ = ["errors", "lowlevel", "ZemError", "ZemWarning", "Record", "live_allocations"]
