"""Times the package against the library called from C, in one run.

  overhead.py BUILD_DIR

BUILD_DIR is a CMake build configured with -DZEMSR_BUILD_BENCH=ON that holds
libzemsr_pybench.so (the C side); the zemsr package must be installed over the
same build.  Prints two rows: a 39-feature single Gaussian score through the
generated layer (and through its plain ctypes function) against the C call, and
the features of a 10 s utterance through zemsr.features against the demo's
pipeline in C.
"""
import ctypes
import os
import sys
import time
import wave

import numpy as np

import zemsr
from zemsr import lowlevel as L

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "examples", "data")


def best_of(fn, rounds, calls=1):
    best = float("inf")
    for _ in range(rounds):
        t0 = time.perf_counter()
        for _ in range(calls):
            fn()
        best = min(best, (time.perf_counter() - t0) / calls)
    return best


def utterance(seconds=10, rate=16000):
    parts = []
    for name in sorted(os.listdir(DATA)):
        if name.endswith(".wav"):
            with wave.open(os.path.join(DATA, name)) as w:
                parts.append(np.frombuffer(w.readframes(w.getnframes()), np.int16))
    x = np.concatenate(parts)
    return np.resize(x, seconds * rate).copy()


def main(build):
    c = ctypes.CDLL(os.path.join(build, "bench", "libzemsr_pybench.so"))
    c.pybenchGaussNs.restype = ctypes.c_double
    c.pybenchGaussNs.argtypes = [ctypes.c_int, ctypes.c_int]
    c.pybenchFeaturesSeconds.restype = ctypes.c_double
    c.pybenchFeaturesSeconds.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p, ctypes.c_int]

    x = (0.1 * np.arange(39)).astype(np.float32)
    mean = (0.05 * np.arange(39)).astype(np.float32)
    var = (1 + 0.01 * np.arange(39)).astype(np.float32)
    out = np.zeros(1, np.float32)
    score = L.zemsLogGaussSingle_32f
    raw = score.raw
    px, pm, pv, po = (a.ctypes.data for a in (x, mean, var, out))
    c_ns = c.pybenchGaussNs(200000, 7)
    py_ns = best_of(lambda: score(x, mean, var, 39, out, -10.0), 7, 20000) * 1e9
    raw_ns = best_of(lambda: raw(px, pm, pv, 39, po, -10.0), 7, 20000) * 1e9
    print("single Gaussian, 39 features: C %.1f ns, generated layer %.0f ns (%.0fx), plain ctypes %.0f ns (%.0fx)"
          % (c_ns, py_ns, py_ns / c_ns, raw_ns, raw_ns / c_ns))

    samples = utterance()
    frames = zemsr.frame_count(samples.size)
    feats = np.zeros((frames, 39), np.float32)
    c_s = c.pybenchFeaturesSeconds(samples.ctypes.data, samples.size, feats.ctypes.data, 15)
    zemsr.features(samples)  # makes the front end once, as the C side does before its clock
    py_s = best_of(lambda: zemsr.features(samples), 15)
    same = np.allclose(zemsr.features(samples), feats, rtol=1e-5, atol=1e-5)
    print("features of 10 s (%d frames): C %.2f ms, zemsr.features %.2f ms (%.2fx)%s"
          % (frames, c_s * 1e3, py_s * 1e3, py_s / c_s, "" if same else "  RESULTS DIFFER"))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
