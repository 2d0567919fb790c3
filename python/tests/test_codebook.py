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


@pytest.fixture(scope="module")
def utterances():
    """Cepstra of five utterances to train on and of a sixth to quantise."""
    rows = []
    for name in ("one", "two", "three", "four", "five", "six"):
        with wave.open(os.path.join(DATA, name + ".wav")) as w:
            rows.append(zemsr.features(np.frombuffer(w.readframes(w.getnframes()), np.int16))[:, :13])
    return np.ascontiguousarray(np.concatenate(rows[:5])), rows[5]


def nearest(x, codewords, weights=1.0):
    d = (((x[:, None, :].astype(np.float64) - codewords[None]) ** 2) * weights).sum(2)
    return d.argmin(1), np.sqrt(d.min(1))


def test_quantize_on_a_list_is_the_exhaustive_search(utterances, no_leaks):
    train, x = utterances
    codewords = train[::7].copy()
    weights = np.linspace(0.5, 2.0, 13).astype(np.float32)
    for book, w in ((codewords, 1.0), (zemsr.Codebook(codewords, weights), weights)):
        index, dist = zemsr.quantize(x, book, return_distances=True)
        want, want_dist = nearest(x, codewords, w)
        assert index.dtype == np.int32 and np.array_equal(index, want)
        np.testing.assert_allclose(dist, want_dist, rtol=1e-5)
        assert np.array_equal(zemsr.quantize(x[::2], book), want[::2])  # rows a stride apart


def test_tree_search_is_close_to_exhaustive(utterances, no_leaks):
    train, x = utterances
    book = zemsr.Codebook.train(train, 64)
    with book:
        codewords = book.codewords
        assert len(book) == 64 and np.array_equal(codewords, zemsr.train_codebook(train, 64))
        index, dist = book.quantize(x, return_distances=True)
    assert book._record.closed
    want, want_dist = nearest(x, codewords)
    # The tree's answer, not always the nearest: but mostly, and its distance is the chosen
    # codeword's.
    assert np.mean(index == want) > 0.85
    np.testing.assert_allclose(dist, np.sqrt(((x - codewords[index]) ** 2).sum(1)), rtol=1e-5)
    assert np.all(dist >= want_dist * (1 - 1e-5))
    # Collected without close(): the finaliser releases it.
    zemsr.Codebook.train(train, 8).quantize(x)


def test_split_quantize_is_quantize_of_each_part(utterances, no_leaks):
    train, x = utterances
    parts = [zemsr.Codebook.train(np.ascontiguousarray(train[:, a:b]), 16) for a, b in ((0, 5), (5, 12))]
    got = zemsr.split_quantize(x, parts)  # column 12 is left over
    assert got.dtype == np.int16 and got.shape == (x.shape[0], 2)
    assert np.array_equal(got[:, 0], parts[0].quantize(np.ascontiguousarray(x[:, :5])))
    assert np.array_equal(got[:, 1], parts[1].quantize(np.ascontiguousarray(x[:, 5:12])))
    bad = [(lambda: zemsr.quantize(x[:, :12], parts[0]), ValueError, "vectors"),
           (lambda: zemsr.split_quantize(x[:, :11], parts), ValueError, "12 columns"),
           (lambda: zemsr.split_quantize(x, [parts[0].codewords]), TypeError, "Codebook"),
           (lambda: zemsr.lowlevel.zemsSplitVQ_32f16s(x, 13, got, 2, 5, parts[0]._record, 1), TypeError, "list"),
           (lambda: zemsr.lowlevel.zemsSplitVQ_32f16s(x, 13, got, 2, 5, [parts[0]._record, None], 2),
            zemsr.errors.NullPointerError, "zemsSplitVQ_32f16s")]
    for call, exc, word in bad:
        with pytest.raises(exc, match=word):
            call()
    for p in parts:
        p.close()
    with pytest.raises(ValueError, match="closed"):
        parts[0].quantize(x[:, :5])
