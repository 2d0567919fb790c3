"""Every export of the C library, callable with numpy arrays.

The functions are made from the declarations of ``include/zemsr.h`` read when the
package was built, so the module always holds exactly the exports of the header
it was built against.  Each function takes the C parameters in the C order:

* a pointer to numbers takes a numpy array (or an object with the buffer
  protocol) of exactly the element type, C-contiguous (or a 2-D view whose rows are
  contiguous, for the ``_D2`` layouts and their step), writeable where the C side
  writes; ``None`` passes a null pointer;
* a pointer to row pointers (the ``_D2L`` layouts) takes a 2-D array or a list of
  1-D arrays;
* a record takes a ``Record`` of its type, an array of records (``R* const*``) a list
  of them;
* a ``Record**`` out-parameter is left out of the call: the new record is returned.

Wrong types raise ``TypeError`` and wrong layouts ``ValueError`` naming the
parameter, before the C function runs.  A negative status raises its
``zemsr.errors`` exception, a positive one is emitted as a warning.  Functions
return the status, or the new record(s) of an allocating call.
"""
import ctypes
import os
import weakref

import numpy as np

from . import errors
from ._exports import EXPORTS, RECORDS

_HERE = os.path.dirname(os.path.abspath(__file__))


def _load():
    where = os.environ.get("ZEMSR_LIBRARY_DIR") or os.path.join(_HERE, "_lib")
    core = ctypes.CDLL(os.path.join(where, "libzemcore.so"), mode=ctypes.RTLD_GLOBAL)
    return core, ctypes.CDLL(os.path.join(where, "libzemsr.so"))


_core, _lib = _load()

# Element types of the header and their numpy and ctypes counterparts.
DTYPES = {
    "Zem8u": np.dtype(np.uint8), "Zem8s": np.dtype(np.int8), "Zem16s": np.dtype(np.int16),
    "Zem16u": np.dtype(np.uint16), "Zem32s": np.dtype(np.int32), "Zem32u": np.dtype(np.uint32),
    "Zem64s": np.dtype(np.int64), "Zem32f": np.dtype(np.float32), "Zem64f": np.dtype(np.float64),
    "int": np.dtype(np.intc),
}
_SCALARS = {
    "Zem8u": ctypes.c_uint8, "Zem8s": ctypes.c_int8, "Zem16s": ctypes.c_int16, "Zem16u": ctypes.c_uint16,
    "Zem32s": ctypes.c_int32, "Zem32u": ctypes.c_uint32, "Zem64s": ctypes.c_int64, "int": ctypes.c_int,
    "Zem32f": ctypes.c_float, "Zem64f": ctypes.c_double,
}


class ZemLibraryVersion(ctypes.Structure):
    _fields_ = [("major", ctypes.c_int32), ("minor", ctypes.c_int32), ("majorBuild", ctypes.c_int32),
                ("build", ctypes.c_int32), ("targetCpu", ctypes.c_char * 4), ("name", ctypes.c_char_p),
                ("version", ctypes.c_char_p), ("buildDate", ctypes.c_char_p)]


# ---- Records ---------------------------------------------------------------------------

class Record:
    """An opaque record of the library (filter bank, lifter, resampler, ...).

    A record from an allocating call is released by its Free function exactly once:
    by ``close()``, at the end of a ``with`` block, or when the object is collected.
    A record built in a caller's buffer (``Record.in_buffer``) owns that buffer.
    """

    __slots__ = ("type_name", "_ptr", "_finalizer", "_buffer", "__weakref__")

    def __init__(self, type_name, address, free=None, buffer=None):
        self.type_name = type_name
        self._ptr = address
        self._buffer = buffer
        self._finalizer = weakref.finalize(self, _release, free, address) if free else None

    @classmethod
    def in_buffer(cls, type_name, size):
        """An uninitialised record of `size` bytes (as a GetSize call reports), for an Init call."""
        if type_name not in RECORDS:
            raise TypeError("unknown record type %r" % (type_name,))
        size = int(size)
        if size < 1:
            raise ValueError("size must be positive, not %d" % size)
        raw = np.zeros(size + 64, np.uint8)
        start = (-raw.ctypes.data) % 64
        buf = raw[start:start + size]
        return cls(type_name, buf.ctypes.data, buffer=buf)

    @property
    def address(self):
        if self._ptr is None:
            raise ValueError("the %s record is closed" % self.type_name)
        return self._ptr

    @property
    def closed(self):
        return self._ptr is None

    def close(self):
        if self._finalizer is not None:
            self._finalizer()
        self._ptr = None
        self._buffer = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __repr__(self):
        state = "closed" if self._ptr is None else "0x%x" % self._ptr
        return "<zemsr %s %s>" % (self.type_name, state)


def _release(free, address):
    free(address)


# ---- Argument conversion -----------------------------------------------------------------

def _as_array(value, fname, pname):
    if isinstance(value, np.ndarray):
        return value
    try:
        return np.asarray(memoryview(value))
    except TypeError:
        raise TypeError("%s: %s must be a numpy array, not %s" % (fname, pname, type(value).__name__)) from None


def _rows_of_contiguous(a):
    """A matrix view whose rows are contiguous and in order (a _D2 block with a larger step)."""
    return a.ndim == 2 and a.strides[1] == a.itemsize and a.strides[0] >= a.shape[1] * a.itemsize


def _pointer_arg(fname, pname, base, writes):
    dtype = DTYPES[base]

    def convert(value, keep):
        if value is None:
            return None
        a = value if type(value) is np.ndarray else _as_array(value, fname, pname)
        if a.dtype != dtype:
            raise TypeError("%s: %s must have dtype %s (%s), not %s" % (fname, pname, dtype, base, a.dtype))
        flags = a.flags
        if not flags.c_contiguous and not _rows_of_contiguous(a):
            raise ValueError("%s: %s must be C-contiguous (or rows of contiguous elements)" % (fname, pname))
        keep.append(a)
        if flags.writeable:
            if flags.c_contiguous and a.nbytes:
                # The buffer protocol gives the address at a third of the cost of a.ctypes.
                return ctypes.addressof(ctypes.c_char.from_buffer(a))
        elif writes:
            raise ValueError("%s: %s must be writeable" % (fname, pname))
        return a.ctypes.data

    return convert


def _rows_arg(fname, pname, base, writes):
    dtype = DTYPES[base]

    def convert(value, keep):
        if value is None:
            return None
        rows = list(value) if not isinstance(value, np.ndarray) else ([value] if value.ndim < 2 else value)
        if isinstance(value, np.ndarray) and value.ndim != 2:
            raise ValueError("%s: %s must be 2-D (rows), not %d-D" % (fname, pname, value.ndim))
        table = (ctypes.c_void_p * max(len(rows), 1))()
        for i, row in enumerate(rows):
            if row is None:
                continue
            r = _as_array(row, fname, "%s[%d]" % (pname, i))
            if r.dtype != dtype:
                raise TypeError("%s: %s rows must have dtype %s (%s), not %s" % (fname, pname, dtype, base, r.dtype))
            if r.ndim != 1 or not r.flags.c_contiguous:
                raise ValueError("%s: %s[%d] must be a contiguous row" % (fname, pname, i))
            if writes and not r.flags.writeable:
                raise ValueError("%s: %s[%d] must be writeable" % (fname, pname, i))
            keep.append(r)
            table[i] = r.ctypes.data
        keep.append(table)
        return ctypes.addressof(table)

    return convert


def _record_arg(fname, pname, base):
    def convert(value, keep):
        if value is None:
            return None
        if not isinstance(value, Record):
            raise TypeError("%s: %s must be a %s record, not %s" % (fname, pname, base, type(value).__name__))
        if value.type_name != base:
            raise TypeError("%s: %s must be a %s record, not %s" % (fname, pname, base, value.type_name))
        keep.append(value)
        return value.address

    return convert


def _records_arg(fname, pname, base):
    one = _record_arg(fname, pname, base)

    def convert(value, keep):
        if value is None:
            return None
        if isinstance(value, (Record, np.ndarray)) or not hasattr(value, "__len__"):
            raise TypeError("%s: %s must be a list of %s records, not %s" % (fname, pname, base,
                                                                               type(value).__name__))
        table = (ctypes.c_void_p * max(len(value), 1))(*[one(r, keep) for r in value])
        keep.append(table)
        return ctypes.addressof(table)

    return convert


def _scalar_arg(fname, pname, base):
    ctype = _SCALARS[base]
    if base in ("Zem32f", "Zem64f"):
        def convert(value, keep):
            if isinstance(value, (bool, np.bool_)) or not isinstance(value, (int, float, np.integer, np.floating)):
                raise TypeError("%s: %s must be a number, not %s" % (fname, pname, type(value).__name__))
            return float(value)
        return convert, ctype
    info = np.iinfo(DTYPES[base])
    lo, hi = int(info.min), int(info.max)  # iinfo computes its bounds on every read

    def convert(value, keep):
        if type(value) is not int:
            if isinstance(value, (bool, np.bool_)) or not isinstance(value, (int, np.integer)):
                raise TypeError("%s: %s must be an integer, not %s" % (fname, pname, type(value).__name__))
            value = int(value)
        if not lo <= value <= hi:
            raise ValueError("%s: %s = %d does not fit %s" % (fname, pname, value, base))
        return value

    return convert, ctype


# ---- Functions ---------------------------------------------------------------------------

def _free_functions():
    free = {}
    for name, _, args in EXPORTS:
        if "Free" in name and len(args) == 1 and args[0][1] in RECORDS and args[0][2] == 1:
            free.setdefault(args[0][1], getattr(_lib, name))
    for fn in free.values():
        fn.argtypes = [ctypes.c_void_p]
        fn.restype = ctypes.c_int
    return free


_FREE = _free_functions()


class Export:
    """One export: call it with the C parameters (record out-parameters left out)."""

    def __init__(self, name, ret, args):
        self.__name__ = self.name = name
        self.raw = getattr(_lib, name)  # the plain ctypes function, for those who know the layout
        self.params = args
        argtypes, converters, self._outs = [], [], []
        for i, (pname, base, depth, const) in enumerate(args):
            if base in RECORDS and depth == 2 and const:
                converters.append(_records_arg(name, pname, base))
                argtypes.append(ctypes.c_void_p)
            elif base in RECORDS and depth == 2:
                self._outs.append((i, base))
                converters.append(None)
                argtypes.append(ctypes.c_void_p)
            elif base in RECORDS and depth == 1:
                converters.append(_record_arg(name, pname, base))
                argtypes.append(ctypes.c_void_p)
            elif depth == 1:
                converters.append(_pointer_arg(name, pname, base, not const))
                argtypes.append(ctypes.c_void_p)
            elif depth == 2:
                converters.append(_rows_arg(name, pname, base, not const))
                argtypes.append(ctypes.c_void_p)
            elif depth == 0 and base in _SCALARS:
                conv, ctype = _scalar_arg(name, pname, base)
                converters.append(conv)
                argtypes.append(ctype)
            else:
                raise TypeError("%s: no conversion for parameter %s of type %s" % (name, pname, base))
        self.raw.argtypes = argtypes
        self._converters = converters
        self._status = ret == ("ZemStatus", 0, False)
        if self._status:
            self.raw.restype = ctypes.c_int
        elif ret == ("ZemLibraryVersion", 1, True):
            self.raw.restype = ctypes.POINTER(ZemLibraryVersion)
        else:
            raise TypeError("%s: no conversion for the result %r" % (name, ret))
        self._inputs = [p[0] for p, c in zip(args, converters) if c is not None]
        self.__doc__ = "%s(%s)" % (name, ", ".join(self._inputs))

    def __call__(self, *values):
        if len(values) != len(self._inputs):
            raise TypeError("%s takes %d arguments (%s), %d given" % (
                self.name, len(self._inputs), ", ".join(self._inputs), len(values)))
        keep = []
        if not self._outs and self._status:  # the common case, kept short: one pass, one call
            status = self.raw(*[conv(v, keep) for conv, v in zip(self._converters, values)])
            return errors.check(status, self.name) if status else 0
        cargs, given, outs = [], iter(values), []
        for conv in self._converters:
            if conv is None:
                slot = ctypes.c_void_p()
                outs.append(slot)
                cargs.append(ctypes.addressof(slot))
            else:
                cargs.append(conv(next(given), keep))
        result = self.raw(*cargs)
        if not self._status:
            return result.contents
        status = errors.check(result, self.name)
        if not self._outs:
            return status
        records = tuple(Record(base, slot.value, _FREE.get(base)) if slot.value else None
                        for (_, base), slot in zip(self._outs, outs))
        return records[0] if len(records) == 1 else records

    def __repr__(self):
        return "<zemsr export %s>" % self.__doc__


EXPORT_NAMES = []
for _name, _ret, _args in EXPORTS:
    globals()[_name] = Export(_name, _ret, _args)
    EXPORT_NAMES.append(_name)

_core.zemcoreTestLiveAllocations.restype = ctypes.c_int64
_core.zemcoreTestLiveAllocations.argtypes = []


def live_allocations():
    """Blocks the library has allocated and not yet released (its allocator's count)."""
    return _core.zemcoreTestLiveAllocations()
