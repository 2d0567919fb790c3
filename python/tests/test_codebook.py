import os
import wave

import numpy as np
import pytest

import zemsr
from conftest import DATA


@pytest.fixture(scope="module")
def cepstra():
    with wave.open(os.path.join(DATA, "three.wav")) as w:
        x = np.frombuffer(w.readframes(w.getnframes()), np.int16)
    return np.ascontiguousarray(zemsr.features(x)[:, :13])


def distortion(x, codewords):
    d = ((x[:, None, :].astype(np.float64) - codewords[None]) ** 2).sum(2)
    return d.min(1).mean()


def test_tree_codebooks_fit_better_as_they_grow(cepstra, no_leaks):
    one = zemsr.train_codebook(cepstra, 1)
    np.testing.assert_allclose(one[0], cepstra.mean(0), rtol=1e-4, atol=1e-3)
    last = distortion(cepstra, one)
    for size in (2, 4, 16):
        for split in ("widest", "fullest"):
            book = zemsr.train_codebook(cepstra, size, split=split)
            assert book.shape == (size, 13)
            assert distortion(cepstra, book) < last
        last = distortion(cepstra, book)
    # Every codeword is the centroid of the vectors it is nearest to, up to the passes'
    # convergence.
    book = zemsr.train_codebook(cepstra, 4)
    nearest = ((cepstra[:, None, :] - book[None]) ** 2).sum(2).argmin(1)
    for k in range(4):
        np.testing.assert_allclose(book[k], cepstra[nearest == k].mean(0), rtol=0.05, atol=0.5)


def test_weights_list_and_short_supply(cepstra):
    ones = np.ones(13, np.float32)
    assert np.array_equal(zemsr.train_codebook(cepstra, 8, weights=ones), zemsr.train_codebook(cepstra, 8))
    assert np.array_equal(zemsr.train_codebook(cepstra[:20], 20, split="list"), cepstra[:20])
    same = np.repeat(cepstra[:1], 10, axis=0)
    with pytest.warns(zemsr.errors.CdbkSizeWarning):
        assert zemsr.train_codebook(same, 4).shape[0] < 4
    bad = [((cepstra.astype(np.float64), 4), {}, TypeError, "vectors"), ((cepstra, 0), {}, ValueError, "size"),
           ((cepstra, 4), {"split": "best"}, ValueError, "split"),
           ((cepstra, 4), {"weights": ones[:5]}, ValueError, "weights")]
    for args, kw, exc, word in bad:
        with pytest.raises(exc, match=word):
            zemsr.train_codebook(*args, **kw)
