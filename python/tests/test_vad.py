import ctypes
import os
import wave

import numpy as np
import pytest

import zemsr
from conftest import DATA


def read(name):
    with wave.open(os.path.join(DATA, name)) as w:
        return np.frombuffer(w.readframes(w.getnframes()), np.int16).copy()


def tally(decisions, rate):
    """(speech frames found, speech frames, noise frames marked noise, noise frames) against
    the span robust.txt gives: 1500 ms of lead, 1552 ms of speech."""
    hop = rate // 100
    centre = (np.arange(decisions.size) * hop + hop) * 1000.0 / rate
    speech = (centre >= 1500) & (centre < 1500 + 1552)
    return (int(np.sum(speech & (decisions == zemsr.SPEECH))), int(speech.sum()),
            int(np.sum(~speech & (decisions == zemsr.NOISE))), int((~speech).sum()))


def test_decisions_find_the_speech_in_noise():
    x = read("robust-snr5.wav")
    d = zemsr.vad_decisions(x)
    assert d.dtype == np.int8 and d.size == zemsr.frame_count(x.size, 320, 160)
    # The figures the robust demo prints for this file.
    assert tally(d, 16000) == (150, 156, 320, 348)
    assert np.all(d[:7] == zemsr.UNDECIDED) and np.all(d[7:] != zemsr.UNDECIDED)
    (start, end), = zemsr.speech_segments(d)
    assert 1.5 < start < 1.6 and 3.2 < end < 3.3
    assert np.array_equal(zemsr.vad_decisions(x.astype(np.float32)), d)
    # The same chain at 8 kHz on the 20 dB file taken down to that rate.
    found, speech, quiet, noise = tally(zemsr.vad_decisions(zemsr.resample(read("robust-snr20.wav"), 16000, 8000),
                                                            rate=8000), 8000)
    assert found >= 0.9 * speech and quiet >= 0.9 * noise


def test_decisions_and_enhanced_signal_are_the_demos(examples):
    for name in ("robust-snr5.wav", "robust-snr20.wav"):
        x = read(name)
        ref = np.zeros(examples.rcFrames(x.size), np.int32)
        ref_y = np.zeros(x.size, np.int16)
        assert examples.rcProcess(ctypes.c_void_p(x.ctypes.data), x.size, ctypes.c_void_p(ref.ctypes.data),
                                  ctypes.c_void_p(ref_y.ctypes.data)) == 0
        d, y = zemsr.vad_decisions(x, return_enhanced=True)
        assert np.array_equal(d, ref), name
        # The demo's transform is its own, so a sample may round the other way.
        rounded = np.clip(np.floor(y.astype(np.float64) + 0.5), -32768, 32767)
        assert np.abs(rounded - ref_y).max() <= 1, name


def test_segments_and_bad_arguments():
    S, N, U = zemsr.SPEECH, zemsr.NOISE, zemsr.UNDECIDED
    d = np.array([U, U, S, S, N, S, N, N, S], np.int8)
    # Frame f stands for the 10 ms around its centre, (f + 1) * 10 ms, at either rate.
    for rate in (16000, 8000):
        assert zemsr.speech_segments(d, rate) == [(0.025, 0.045), (0.055, 0.065), (0.085, 0.095)]
    assert zemsr.speech_segments(np.full(5, N, np.int8)) == []
    x = read("robust-snr5.wav")[:4000]
    for args, kw, exc, word in [((x,), {"rate": 44100}, ValueError, "rate"),
                                ((x.astype(np.float64),), {}, TypeError, "samples"),
                                ((x[:319],), {}, ValueError, "samples")]:
        with pytest.raises(exc, match=word):
            zemsr.vad_decisions(*args, **kw)
