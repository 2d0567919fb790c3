"""Codebook training in one call: a tree of k-means centroids grown by binary splits."""
import numpy as np

from . import lowlevel as L
from .highlevel import _matrix, _vector

_HINTS = {"list": 1, "widest": 2, "fullest": 3}


def train_codebook(vectors, size, weights=None, split="widest"):
    """Codewords for `vectors` (N, D) float32, one row each.

    split "widest" or "fullest" grows a binary tree of k-means centroids up to `size`
    leaves, splitting the leaf of largest spread or of most vectors; "list" keeps
    every training vector (size is then N).  weights (D,) float32 weigh the squared
    differences of each column.  Fewer than `size` codewords come back, with a
    zemsr.errors.CdbkSizeWarning, when no leaf can be split further.
    Returns float32 (codewords, D).
    """
    x, step = _matrix(vectors, "vectors")
    if split not in _HINTS:
        raise ValueError("split must be one of %s, not %r" % (", ".join(sorted(_HINTS)), split))
    if not isinstance(size, (int, np.integer)) or isinstance(size, bool):
        raise TypeError("size must be an integer, not %s" % type(size).__name__)
    if size < 1:
        raise ValueError("size must be positive, not %d" % size)
    height, width = x.shape
    if weights is None:
        record = L.zemsCdbkInitAlloc_L2_32f(x, width, step, height, int(size), _HINTS[split])
    else:
        w = _vector(weights, "weights", width)
        record = L.zemsCdbkInitAlloc_WgtL2_32f(x, w, width, step, height, int(size), _HINTS[split])
    with record:
        count = np.zeros(1, np.int32)
        L.zemsGetCdbkSize_32f(record, count)
        out = np.empty((int(count[0]), width), np.float32)
        L.zemsGetCodebook_32f(record, out, width)
    return out
