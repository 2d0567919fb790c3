import ctypes
import os
import warnings
import wave

import numpy as np
import pytest

import zemsr
from conftest import DATA, SOURCE

FILES = ["one.wav", "two.wav", "three.wav", "four.wav", "five.wav", "six.wav"]


def read(name):
    with wave.open(os.path.join(DATA, name)) as w:
        return np.frombuffer(w.readframes(w.getnframes()), np.int16).copy()


def test_features_are_the_demos(examples):
    fe = ctypes.create_string_buffer(1 << 14)  # PipeFrontEnd is about 1.7 kB
    assert examples.pipeFrontEndInit(fe) == 0
    for name in FILES:
        x = read(name)
        ref = np.zeros((examples.pipeFrameCount(len(x)), 39), np.float32)
        assert examples.pipeFeatures(fe, ctypes.c_void_p(x.ctypes.data), len(x), ctypes.c_void_p(ref.ctypes.data)) == 0
        got = zemsr.features(x)
        assert got.shape == ref.shape
        # The same library calls in the same order; only the logarithm is numpy's, so
        # allow the last bit of a log to differ.
        np.testing.assert_allclose(got, ref, rtol=1e-5, atol=1e-5, err_msg=name)
        assert np.mean(got == ref) > 0.9
    examples.pipeFrontEndFree(fe)


def test_features_take_float_samples_and_refuse_bad_ones():
    x = read("one.wav")
    assert np.array_equal(zemsr.features(x), zemsr.features(x.astype(np.float32)))
    cases = [(x.astype(np.float64), TypeError, "samples"), (x[:42434].reshape(2, -1), ValueError, "samples"),
             (x[:1000], ValueError, "6"), (list(x[:2000]), TypeError, "samples")]
    for value, exc, word in cases:
        with pytest.raises(exc, match=word):
            zemsr.features(value)


class TrackFrame(ctypes.Structure):
    _fields_ = [("f0", ctypes.c_float), ("periodicity", ctypes.c_float), ("f1", ctypes.c_float),
                ("f2", ctypes.c_float)]


def test_pitch_and_formants_are_the_trackers(examples):
    x = read("two.wav")
    got = zemsr.pitch_formants(x)
    ref = np.zeros_like(got)
    out = TrackFrame()
    for t in range(got.shape[0]):
        frame = np.ascontiguousarray(x[t * 160:t * 160 + 640])
        assert examples.trackFrame(ctypes.c_void_p(frame.ctypes.data), ctypes.byref(out)) == 0
        ref[t] = (out.f0, out.periodicity, out.f1, out.f2)
    assert np.array_equal(got[:, :2], ref[:, :2])
    np.testing.assert_allclose(got[:, 2:], ref[:, 2:], atol=0.05)
    voiced = got[got[:, 0] > 0, 0]
    assert voiced.size > 20 and 60 < np.median(voiced) < 300


def reference_loglik(x, means, variances, weights):
    x, m, v = (a.astype(np.float64) for a in (x, means, variances))
    d = x[:, None, :] - m[None, :, :]
    comp = (np.log(weights.astype(np.float64)) - 0.5 * (np.log(2 * np.pi * v).sum(1))
            - 0.5 * (d * d / v).sum(2))
    top = comp.max(1)
    return top + np.log(np.exp(comp - top[:, None]).sum(1))


def test_mixture_log_likelihoods_against_numpy():
    feats = zemsr.features(read("three.wav"))
    rng = np.random.default_rng(7)
    k = 4
    means = feats[rng.choice(len(feats), k, replace=False)].copy()
    variances = (feats.var(0) * rng.uniform(0.5, 2.0, (k, feats.shape[1]))).astype(np.float32)
    weights = np.array([0.4, 0.3, 0.2, 0.1], np.float32)
    got = zemsr.gmm_loglik(feats, means, variances, weights)
    np.testing.assert_allclose(got, reference_loglik(feats, means, variances, weights), rtol=2e-5, atol=2e-3)
    # Every other frame, as a strided view: no copy, the same scores.
    with warnings.catch_warnings():
        warnings.simplefilter("error", zemsr.CopyNote)
        assert np.array_equal(zemsr.gmm_loglik(feats[::2], means, variances, weights), got[::2])
    # Columns out of order are copied, with a note.
    with pytest.warns(zemsr.CopyNote, match="frames"):
        np.testing.assert_array_equal(zemsr.gmm_loglik(np.asfortranarray(feats), means, variances, weights), got)
    bad = [((feats, means, variances[:, :3], weights), ValueError, "variances"),
           ((feats, means, variances, weights[:3]), ValueError, "weights"),
           ((feats.astype(np.float64), means, variances, weights), TypeError, "frames"),
           ((feats, means, -variances, weights), ValueError, "positive")]
    for args, exc, word in bad:
        with pytest.raises(exc, match=word):
            zemsr.gmm_loglik(*args)


def test_column_statistics_and_normalisation():
    x = zemsr.features(read("four.wav"))
    mean, var = zemsr.column_stats(x)
    np.testing.assert_allclose(mean, x.astype(np.float64).mean(0), rtol=1e-4, atol=1e-4)
    np.testing.assert_allclose(var, x.astype(np.float64).var(0, ddof=1), rtol=1e-4, atol=1e-4)
    y = zemsr.normalize_columns(x)
    np.testing.assert_allclose(y.mean(0), 0, atol=1e-4)
    np.testing.assert_allclose(y.var(0, ddof=1), 1, rtol=1e-3)
    out = np.empty_like(x)
    assert zemsr.normalize_columns(x, mean, var, out=out) is out and np.array_equal(out, y)


def test_dtw_distance():
    a = zemsr.features(read("five.wav"))[:80]
    b = zemsr.features(read("six.wav"))[:90]
    assert zemsr.dtw_distance(a, a) == 0.0
    # Each frame twice: the warp walks every row and stays on each column twice.
    assert zemsr.dtw_distance(np.repeat(a, 2, axis=0), a) == 0.0
    d = zemsr.dtw_distance(a, b, delta=100, beam=1e30)
    assert d > 0 and d == zemsr.dtw_distance(b, a, delta=100, beam=1e30)
    with pytest.raises(ValueError, match="columns"):
        zemsr.dtw_distance(a, b[:, :3])


@pytest.mark.parametrize("dtype", [np.int16, np.float32])
def test_resampling_keeps_a_tone(dtype):
    t = np.arange(16000)
    tone = (8000 * np.sin(2 * np.pi * 440 * t / 16000)).astype(dtype)
    y = zemsr.resample(tone, 16000, 8000)
    assert y.dtype == dtype and abs(len(y) - 8000) <= 1
    want = 8000 * np.sin(2 * np.pi * 440 * np.arange(len(y)) / 8000)
    inner = slice(100, len(y) - 100)  # away from the edges, where zeros are read
    err = np.abs(y[inner].astype(np.float64) - want[inner])
    assert err.max() < 0.01 * 8000
    up = zemsr.resample(y, 8000, 16000)
    assert abs(len(up) - 16000) <= 2


def test_high_level_calls_leave_nothing_allocated(no_leaks):
    x = read("one.wav")
    zemsr.features(x)  # the per-thread front end is made once and kept
    before = zemsr.live_allocations()
    zemsr.features(x)
    zemsr.resample(x, 16000, 8000)
    zemsr.pitch_formants(x[:4000])
    assert zemsr.live_allocations() == before


def test_noise_reduction_quietens_pauses_and_keeps_speech():
    lead_ms, speech_ms = (int(v) for v in open(os.path.join(DATA, "utterances.txt")).readline().split()[1:3])
    clean = zemsr.resample(read("one.wav"), 16000, 8000).astype(np.float32)
    noisy = clean + (np.random.default_rng(3).standard_normal(clean.size) * 300).astype(np.float32)
    out = zemsr.reduce_noise(noisy)
    assert out.shape == clean.shape and np.all(np.isfinite(out))

    def db(a):
        return 10 * np.log10(np.mean(np.square(a, dtype=np.float64)))

    pause, speech = slice(0, lead_ms * 8 - 400), slice(lead_ms * 8, (lead_ms + speech_ms) * 8)
    assert db(out[pause]) < db(noisy[pause]) - 10
    assert abs(db(out[speech]) - db(clean[speech])) < 2
    # In time with the input: the residual is least without a shift.
    err = [db(out[speech] - np.roll(clean, d)[speech]) for d in (-4, -1, 0, 1, 4)]
    assert np.argmin(err) == 2
    assert not np.any(zemsr.reduce_noise(np.zeros(4000, np.int16)))


def test_noise_reduction_cleans_noisy_speech_in_step():
    rng = np.random.default_rng(3)
    speech = zemsr.resample(read("two.wav"), 16000, 8000).astype(np.float32)
    clean = np.concatenate([np.zeros(1600, np.float32), speech])  # 0.2 s of noise alone first

    def snr(y, lag=0):
        y = np.roll(y, lag)[16:-16]
        c = clean[16:-16]
        return 10 * np.log10((c * c).sum() / ((c - y) ** 2).sum())

    noisy = clean + rng.normal(0, 1000, clean.size).astype(np.float32)
    y = zemsr.reduce_noise(noisy)
    assert y.dtype == np.float32 and y.shape == clean.shape
    assert snr(y) > snr(noisy) + 3
    # Aligned with the input: a sample's shift either way does worse.
    assert snr(y) > max(snr(y, -1), snr(y, 1)) + 1
    # The noise alone is taken down by more than 10 dB.
    assert (y[200:1400] ** 2).mean() < 0.1 * (noisy[200:1400] ** 2).mean()
    assert np.array_equal(zemsr.reduce_noise(np.rint(noisy).clip(-32768, 32767).astype(np.int16)),
                          zemsr.reduce_noise(np.rint(noisy).clip(-32768, 32767).astype(np.float32)))


def test_the_readme_example_runs_and_finds_the_speech(capsys):
    with open(os.path.join(SOURCE, "README.md"), encoding="utf-8") as f:
        text = f.read()
    code = text.split("```python\n", 1)[1].split("```", 1)[0]
    cwd = os.getcwd()
    os.chdir(SOURCE)
    try:
        with warnings.catch_warnings():
            warnings.simplefilter("error")  # no copies, no statuses
            exec(compile(code, "README.md", "exec"), {})
    finally:
        os.chdir(cwd)
    line = capsys.readouterr().out.split()[0]
    assert line.strip(".#") == "" and "#" * 20 in line
    assert line.startswith("....") and line.endswith("....")  # pauses either side
