"""Codebooks: a tree of k-means centroids grown by binary splits, or a plain list of
codewords, and the search for the codeword nearest to each vector."""
import numpy as np

from . import lowlevel as L
from .highlevel import _matrix, _vector

_HINTS = {"list": 1, "widest": 2, "fullest": 3}
_MAX_SIZE = 16383


def _size(size):
    if not isinstance(size, (int, np.integer)) or isinstance(size, bool):
        raise TypeError("size must be an integer, not %s" % type(size).__name__)
    if not 1 <= size <= _MAX_SIZE:
        raise ValueError("size must be 1 .. %d, not %d" % (_MAX_SIZE, size))
    return int(size)


class Codebook:
    """A codebook held by the library, to search with (``quantize``) or read out.

    ``Codebook(codewords)`` searches the given rows (K, D) float32 exhaustively, or
    through a cell index when D is 1 or 2 and K at least 11; ``Codebook.train`` grows a
    tree.  weights (D,) float32 weigh the squared differences of each column.  The
    record is released by ``close()``, at the end of a ``with`` block, or when the
    object is collected.  Searches only read it, so threads may share one.
    """

    def __init__(self, codewords, weights=None, *, _train=None):
        x, step = _matrix(codewords, "vectors" if _train else "codewords")
        height, width = x.shape
        count, split = _train or (height, "list")
        if height > _MAX_SIZE and not _train:
            raise ValueError("codewords: at most %d rows, not %d" % (_MAX_SIZE, height))
        if weights is None:
            self._record = L.zemsCdbkInitAlloc_L2_32f(x, width, step, height, count, _HINTS[split])
        else:
            w = _vector(weights, "weights", width)
            self._record = L.zemsCdbkInitAlloc_WgtL2_32f(x, w, width, step, height, count, _HINTS[split])
        self.width, self.tree = width, split != "list"
        size = np.zeros(1, np.int32)
        L.zemsGetCdbkSize_32f(self._record, size)
        self.size = int(size[0])

    @classmethod
    def train(cls, vectors, size, weights=None, split="widest"):
        """A tree of up to `size` leaves grown from `vectors` (N, D) float32: the leaf of
        largest spread ("widest") or of most vectors ("fullest") is split next, and
        "list" keeps every training vector instead (a CdbkSizeWarning when size is not
        N).  Fewer leaves come back, with a zemsr.errors.CdbkSizeWarning, when no leaf
        can be split further.  A split whose halves stay together (a leaf of many
        identical vectors, as silent frames give) ends training with
        zemsr.errors.BadArgError; "fullest" meets it more readily."""
        if split not in _HINTS:
            raise ValueError("split must be one of %s, not %r" % (", ".join(sorted(_HINTS)), split))
        return cls(vectors, weights, _train=(_size(size), split))

    @property
    def codewords(self):
        """The codewords, float32 (size, D); a tree's are its leaves."""
        out = np.empty((self.size, self.width), np.float32)
        L.zemsGetCodebook_32f(self._record, out, self.width)
        return out

    def quantize(self, vectors, return_distances=False):
        """See zemsr.quantize."""
        x, step = _matrix(vectors, "vectors", self.width)
        index = np.empty(x.shape[0], np.int32)
        if not return_distances:
            L.zemsVQ_32f(x, step, index, x.shape[0], self._record)
            return index
        dist = np.empty(x.shape[0], np.float32)
        L.zemsVQDist_32f(x, step, index, dist, x.shape[0], self._record)
        return index, dist

    def close(self):
        self._record.close()

    def __len__(self):
        return self.size

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __repr__(self):
        return "<zemsr Codebook %s of %d x %d%s>" % ("tree" if self.tree else "list", self.size, self.width,
                                                    ", closed" if self._record.closed else "")


def train_codebook(vectors, size, weights=None, split="widest"):
    """Codewords for `vectors` (N, D) float32, one row each.

    split "widest" or "fullest" grows a binary tree of k-means centroids up to `size`
    leaves, splitting the leaf of largest spread or of most vectors; "list" keeps
    every training vector (size is then N).  weights (D,) float32 weigh the squared
    differences of each column.  Fewer than `size` codewords come back, with a
    zemsr.errors.CdbkSizeWarning, when no leaf can be split further.
    Returns float32 (codewords, D); ``Codebook.train`` keeps the tree to search with.
    """
    with Codebook.train(vectors, size, weights, split) as book:
        return book.codewords


def quantize(vectors, codebook, return_distances=False):
    """The number of the codeword nearest to each row of `vectors` (N, D) float32.

    codebook is a ``Codebook`` or the codewords themselves (K, D) float32, searched as a
    list.  Nearest is by the weighted squared distance; on a near tie (within a relative
    1e-6) the lower number wins.  A list is searched exhaustively, except at D 1 or 2
    with 11 or more codewords, where a cell index is used.  A tree is descended from
    the root and its answer improved by walking the leaves' neighbours: it is
    approximate by design and is not always the true nearest codeword, as is the cell
    index's.  Returns int32 (N,), and with return_distances the float32 (N,) square
    roots of the weighted distances to the codewords chosen.
    """
    if isinstance(codebook, Codebook):
        return codebook.quantize(vectors, return_distances)
    with Codebook(codebook) as book:
        return book.quantize(vectors, return_distances)


def split_quantize(vectors, codebooks):
    """Split quantisation: each row of `vectors` (N, D) float32 cut into consecutive
    sub-vectors of the codebooks' widths (their sum at most D; columns past it are
    ignored), and sub-vector k quantised in codebooks[k] as ``quantize`` does.
    Returns int16 (N, len(codebooks)) of codeword numbers."""
    books = list(codebooks)
    if not books or not all(isinstance(b, Codebook) for b in books):
        raise TypeError("codebooks must be a non-empty list of zemsr.Codebook")
    x, step = _matrix(vectors, "vectors")
    width = sum(b.width for b in books)
    if width > x.shape[1]:
        raise ValueError("vectors must have at least %d columns (the codebooks' widths), not %d"
                         % (width, x.shape[1]))
    out = np.empty((x.shape[0], len(books)), np.int16)
    L.zemsSplitVQ_32f16s(x, step, out, len(books), x.shape[0], [b._record for b in books], len(books))
    return out
