"""The common jobs of a speech front end and its models, one call each.

Matrices are numpy arrays of frames in rows.  A float32 matrix whose elements are
contiguous within each row goes to the library as it is (rows a stride apart);
anything else of dtype float32 is copied first, with a ``CopyNote`` warning saying
so.  Other dtypes raise ``TypeError`` and wrong shapes ``ValueError``, naming the
argument, before any C call.
"""
import ctypes
import math
import os
import threading
import warnings

import numpy as np

from . import errors
from . import lowlevel as L

F32 = np.dtype(np.float32)


class CopyNote(UserWarning):
    """An argument was copied into a layout the library takes (rows of float32)."""


# ---- Argument checks ------------------------------------------------------------------

def _matrix(x, name, width=None):
    """(matrix, row step in elements) of a float32 matrix of frames in rows."""
    if not isinstance(x, np.ndarray):
        raise TypeError("%s must be a numpy array, not %s" % (name, type(x).__name__))
    if x.dtype != F32:
        raise TypeError("%s must have dtype float32, not %s" % (name, x.dtype))
    if x.ndim != 2 or x.shape[0] < 1 or x.shape[1] < 1:
        raise ValueError("%s must be a non-empty 2-D array (frames, features), not shape %s" % (name, x.shape))
    if width is not None and x.shape[1] != width:
        raise ValueError("%s must have %d columns, not %d" % (name, width, x.shape[1]))
    if x.shape[0] == 1 and x.strides[1] == 4:
        return x, x.shape[1]  # one row (a[None] has row stride 0): its step is never used
    if x.strides[1] != 4 or x.strides[0] <= 0 or x.strides[0] % 4:
        warnings.warn(CopyNote("%s copied: its rows are not contiguous float32" % name), stacklevel=3)
        x = np.ascontiguousarray(x)
    return x, x.strides[0] // 4


def _vector(x, name, length=None, dtypes=(F32,)):
    if not isinstance(x, np.ndarray):
        raise TypeError("%s must be a numpy array, not %s" % (name, type(x).__name__))
    if x.dtype not in dtypes:
        raise TypeError("%s must have dtype %s, not %s" % (name, " or ".join(map(str, dtypes)), x.dtype))
    if x.ndim != 1 or x.size < 1:
        raise ValueError("%s must be a non-empty 1-D array, not shape %s" % (name, x.shape))
    if length is not None and x.size != length:
        raise ValueError("%s must hold %d values, not %d" % (name, length, x.size))
    if not x.flags.c_contiguous:
        warnings.warn(CopyNote("%s copied: it is not contiguous" % name), stacklevel=3)
        x = np.ascontiguousarray(x)
    return x


def _samples(x, name="samples"):
    return _vector(x, name, dtypes=(np.dtype(np.int16), F32))


# ---- Row helper ----------------------------------------------------------------------

def _load_rows():
    path = os.path.join(os.environ.get("ZEMSR_LIBRARY_DIR") or os.path.join(os.path.dirname(__file__), "_lib"),
                        "libzemsr_pyrows.so")
    try:
        fn = ctypes.CDLL(path).zemsrPyEachRow
    except OSError:
        return None
    fn.restype = ctypes.c_int
    fn.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_longlong, ctypes.c_void_p, ctypes.c_longlong,
                   ctypes.c_void_p, ctypes.c_int, ctypes.POINTER(ctypes.c_int)]
    return fn


_each_row_c = _load_rows()


def _each_row(export, src, dst, record):
    """export(src[i], dst[i], record) for every row, in C when the helper is there."""
    rows = src.shape[0]
    if _each_row_c is not None:
        done = ctypes.c_int()
        fn = ctypes.cast(export.raw, ctypes.c_void_p).value
        status = _each_row_c(fn, src.ctypes.data, src.strides[0], dst.ctypes.data, dst.strides[0],
                             record.address, rows, ctypes.byref(done))
    else:
        raw, s0, d0, ss, ds, rec = export.raw, src.ctypes.data, dst.ctypes.data, src.strides[0], dst.strides[0], \
            record.address
        status = 0
        for i in range(rows):
            status = raw(s0 + i * ss, d0 + i * ds, rec) or status
            if status < 0:
                break
    return errors.check(status, export.name)


# ---- Features ------------------------------------------------------------------------

_local = threading.local()


def _front_end(frame, rate, low, high, filters, cepstra, lifter):
    """A filter bank and a lifter for these settings, kept per thread (the bank holds a
    work area, so a thread never shares it)."""
    cache = getattr(_local, "front_ends", None)
    if cache is None:
        cache = _local.front_ends = {}
    key = (frame, rate, low, high, filters, cepstra, lifter)
    if key not in cache:
        order = np.zeros(1, np.int32)
        bank = L.zemsMelFBankInitAlloc_32f(order, frame, float(rate), float(low), float(high), filters, 1127.0,
                                           700.0, 1 | 4)
        lift = L.zemsDCTLifterInitAlloc_C0_32f(filters, cepstra, lifter, 1.0, 1.0)
        window = (0.54 - 0.46 * np.cos(2.0 * math.pi * np.arange(frame) / (frame - 1))).astype(np.float32)
        if len(cache) > 8:
            cache.clear()
        cache[key] = (bank, lift, window, 1 << int(order[0]))
    return cache[key]


def _frame_buffer(frames, fft_len):
    """A per-thread (frames, fft_len) float32 buffer whose columns past the frame stay zero."""
    buf = getattr(_local, "frames", None)
    if buf is None or buf.shape[1] != fft_len or buf.shape[0] < frames:
        buf = _local.frames = np.zeros((max(frames, 1024), fft_len), np.float32)
    return buf[:frames]


def frame_count(n, frame=400, hop=160):
    """Frames of `frame` samples every `hop` in n samples."""
    return 0 if n < frame else 1 + (n - frame) // hop


def features(samples, rate=16000, frame=400, hop=160, filters=26, low=64.0, high=8000.0, cepstra=12, lifter=22,
             preemphasis=0.97, floor=1e-3, delta=0.1):
    """Cepstral features with deltas and delta-deltas, one row a frame.

    The steps of the bundled demo: frames of `frame` samples every `hop` (25 ms every
    10 ms at 16 kHz), pre-emphasis (the first sample is its own predecessor) and a
    Hamming window, a mel bank of `filters` filters from `low` to `high` Hz evaluated
    through the transform, the log of each energy floored at `floor`, the DCT lifter to
    `cepstra` cepstra (lifter `lifter`) followed by C0, and deltas and delta-deltas over
    two frames each side with multiplier `delta`.

    samples: 1-D int16 or float32.  Returns float32 (frames, 3 * (cepstra + 1)).
    """
    x = _samples(samples)
    frames = frame_count(x.size, frame, hop)
    if frames < 6:
        raise ValueError("samples: %d samples give %d frames; the deltas need at least 6" % (x.size, frames))
    bank, lift, window, fft_len = _front_end(frame, rate, low, high, filters, cepstra, lifter)
    # Pre-emphasis over the whole signal once: emph[j] = x[j] - a x[j-1]; a frame's first
    # sample is its own predecessor, so column 0 is redone per frame below.
    a = np.float32(preemphasis)
    xf = x.astype(np.float32)
    emph = np.empty_like(xf)
    emph[0] = xf[0] - a * xf[0]
    np.subtract(xf[1:], a * xf[:-1], out=emph[1:])
    starts = np.arange(frames) * hop
    buf = _frame_buffer(frames, fft_len)
    np.multiply(np.lib.stride_tricks.sliding_window_view(emph, frame)[starts], window, out=buf[:, :frame])
    first = xf[starts]
    buf[:, 0] = (first - a * first) * window[0]
    energies = np.empty((frames, filters), np.float32)
    _each_row(L.zemsEvalFBank_32f, buf, energies, bank)
    np.maximum(energies, np.float32(floor), out=energies)
    logs = np.log(energies.astype(np.float64)).astype(np.float32)
    width = cepstra + 1
    ceps = np.empty((frames, width), np.float32)
    _each_row(L.zemsDCTLifter_32f, logs, ceps, lift)
    out = np.empty((frames, 3 * width), np.float32)
    L.zemsDeltaDelta_Win2_32f_D2(ceps, width, out, 3 * width, frames, float(delta), float(delta), 1 | 2)
    return out


# ---- Mixtures ------------------------------------------------------------------------

def gmm_loglik(frames, means, variances, weights):
    """Log likelihood of each frame under a diagonal Gaussian mixture.

    frames (T, D), means and variances (K, D) float32, weights (K,) float32 summing to
    one.  Returns float32 (T,): ln sum_k w_k N(x; mean_k, diag(var_k)).
    """
    x, step = _matrix(frames, "frames")
    dim = x.shape[1]
    m, _ = _matrix(means, "means", dim)
    v, _ = _matrix(variances, "variances", dim)
    if v.shape[0] != m.shape[0]:
        raise ValueError("variances must have as many rows as means (%d), not %d" % (m.shape[0], v.shape[0]))
    w = _vector(weights, "weights", m.shape[0])
    if not np.all(v > 0):
        raise ValueError("variances must be positive")
    if not np.all(w > 0):
        raise ValueError("weights must be positive")
    m = np.ascontiguousarray(m)
    inv = (1.0 / np.ascontiguousarray(v)).astype(np.float32)
    out = np.empty(x.shape[0], np.float32)
    gconst = np.zeros(1, np.float32)
    for k in range(m.shape[0]):
        L.zemsUpdateGConst_DirectVar_32f(np.ascontiguousarray(v[k]), dim, gconst)
        val = float(np.float32(math.log(w[k])) - np.float32(0.5) * gconst[0])
        score = L.zemsLogGauss_32f_D2 if k == 0 else L.zemsLogGaussAdd_32f_D2
        score(x, step, m[k], inv[k], dim, out, x.shape[0], val)
    return out


# ---- Sequences and statistics -----------------------------------------------------------

def dtw_distance(a, b, delta=8, beam=200.0):
    """Least warping cost between two sequences of frames (rows), Euclidean frame
    distances, in a band widened by `delta` frames and a beam of `beam`; not normalised."""
    x, sx = _matrix(a, "a")
    y, sy = _matrix(b, "b", x.shape[1])
    if sx != sy:
        warnings.warn(CopyNote("a and b copied: their row strides differ"), stacklevel=2)
        x, y = np.ascontiguousarray(x), np.ascontiguousarray(y)
        sx = x.shape[1]
    dst = np.zeros(1, np.float32)
    L.zemsDTW_L2_32f_D2(x, x.shape[0], y, y.shape[0], x.shape[1], sx, dst, int(delta), float(beam))
    return float(dst[0])


def column_stats(frames):
    """Mean and variance of each column of frames (T, D): two float32 arrays of D."""
    x, step = _matrix(frames, "frames")
    mean = np.empty(x.shape[1], np.float32)
    var = np.empty(x.shape[1], np.float32)
    L.zemsMeanVarColumn_32f_D2(x, x.shape[0], step, mean, var, x.shape[1])
    return mean, var


def normalize_columns(frames, mean=None, var=None, out=None):
    """(x - mean) / sqrt(var) column by column; mean and variance from the frames
    themselves when not given.  Writes into `out` (default: a new array) and returns it."""
    x, _ = _matrix(frames, "frames")
    if mean is None or var is None:
        m, v = column_stats(x)
        mean = m if mean is None else mean
        var = v if var is None else var
    mean = _vector(mean, "mean", x.shape[1])
    var = _vector(var, "var", x.shape[1])
    inv_std = (1.0 / np.sqrt(var.astype(np.float64))).astype(np.float32)
    if out is None:
        out = np.array(x, order="C")
    else:
        out, _ = _matrix(out, "out", x.shape[1])
        if out.shape != x.shape:
            raise ValueError("out must have shape %s, not %s" % (x.shape, out.shape))
        out[...] = x
    o, step = _matrix(out, "out")
    L.zemsNormalizeColumn_32f_D2(o, step, o.shape[0], mean, inv_std, o.shape[1])
    return o


# ---- Resampling ----------------------------------------------------------------------

def resample(samples, in_rate, out_rate, taps=48, rolloff=0.9, alpha=9.0):
    """Samples at out_rate from samples at in_rate (positive integers), by the fixed
    polyphase engine with `taps` taps a phase; zeros are taken before and after the
    signal.  int16 in gives int16 out (rounded, saturated), float32 gives float32."""
    x = _samples(samples)
    if not (isinstance(in_rate, (int, np.integer)) and isinstance(out_rate, (int, np.integer))):
        raise TypeError("in_rate and out_rate must be integers")
    if in_rate < 1 or out_rate < 1:
        raise ValueError("in_rate and out_rate must be positive")
    short = x.dtype == np.int16
    init = L.zemsResamplePolyphaseFixedInitAlloc_16s if short else L.zemsResamplePolyphaseFixedInitAlloc_32f
    run = L.zemsResamplePolyphaseFixed_16s if short else L.zemsResamplePolyphaseFixed_32f
    pad = int(taps) + int(math.ceil(taps * in_rate / out_rate))
    padded = np.zeros(x.size + 2 * pad, x.dtype)
    padded[pad:pad + x.size] = x
    out = np.zeros(int(x.size * out_rate // in_rate) + 16, x.dtype)
    time = np.zeros(1, np.float64)
    count = np.zeros(1, np.int32)
    with init(int(in_rate), int(out_rate), int(taps), float(rolloff), float(alpha), 1) as state:
        run(state, padded[pad:], x.size, out, 1.0, time, count)
    return out[:count[0]].copy()


# ---- Pitch and formants ------------------------------------------------------------------

def pitch_formants(samples, hop=160):
    """F0, periodicity and the first two formants every `hop` samples of 16 kHz speech.

    Per 40 ms frame: F0 from the least-squares periodicity of the frame averaged down to
    8 kHz (voiced at periodicity 0.45 or more), moved to the shortest whole fraction of
    the period that correlates almost as well and refined between lags; the formants as
    the first two peaks above 150 Hz of the order-18 LP envelope of the pre-emphasised,
    windowed frame.  Returns float32 (frames, 4): f0 (0 when unvoiced), periodicity, f1,
    f2 (0 when not found).
    """
    x = _vector(samples, "samples", dtypes=(np.dtype(np.int16),))
    frame, low_len, min_p, max_p, order, bins = 640, 320, 20, 160, 18, 256
    frames = frame_count(x.size, frame, hop)
    out = np.zeros((frames, 4), np.float32)
    window = (0.54 - 0.46 * np.cos(2 * math.pi * np.arange(frame) / (frame - 1))).astype(np.float32)
    hz = np.float32(16000 / (2.0 * bins))
    per, period = np.zeros(1, np.float32), np.zeros(1, np.int32)
    corr, beta = np.zeros(1, np.float32), np.zeros(1, np.float32)
    lp = np.zeros(order + 1, np.float32)
    env = np.zeros(bins, np.float32)
    length = low_len - max_p - 1
    for t in range(frames):
        s = x[t * hop:t * hop + frame]
        sf = s.astype(np.float32)
        low = np.float32(0.5) * (sf[0::2] + sf[1::2])
        low16 = np.rint(low).astype(np.int16)
        L.zemsPeriodicityLSPE_32f(low, low_len, per, period, max_p, min_p)
        out[t, 1] = per[0]
        p = int(period[0])
        if p and per[0] >= np.float32(0.45):
            L.zemsCrossCorrCoeff_16s32f(low16, low16[p:], length, corr)
            full = corr[0]
            for d in range(p // min_p, 1, -1):
                lag = (p + d // 2) // d
                L.zemsCrossCorrCoeff_16s32f(low16, low16[lag:], length, corr)
                if corr[0] >= np.float32(0.9) * full:
                    p = lag
                    break
            where, best = np.float32(p), -1.0
            for lag in (p - 1, p):
                if lag < 1:
                    continue
                beta[0], corr[0] = 0.0, -1.0  # the result stays unwritten when beta is out of range
                with warnings.catch_warnings():  # a lag counts only on a clean success
                    warnings.simplefilter("error", errors.ZemWarning)
                    try:
                        L.zemsCrossCorrCoeffInterpolation_16s32f(low16, low16[lag:], length, beta, corr)
                    except (errors.ZemError, errors.ZemWarning):
                        continue
                if corr[0] > best:
                    best, where = corr[0], np.float32(lag) + beta[0]
            out[t, 0] = np.float32(8000) / where
        prev = np.concatenate(([np.float32(0)], sf[:-1]))
        xw = (sf - np.float32(0.97) * prev) * window
        lp[0] = 1.0
        try:
            L.zemsLinearPrediction_Auto_32f(xw, frame, lp[1:], order)
        except errors.ZemError:
            continue
        L.zemsLPToSpectrum_32f(lp, order + 1, env, 8, 0.0)
        found = 0
        for k in range(1, bins - 1):
            if found == 2:
                break
            if k * hz < np.float32(150) or not (env[k] > env[k - 1] and env[k] >= env[k + 1]):
                continue
            lo, c, r = (np.float32(math.log(v)) for v in env[k - 1:k + 2])
            d = lo - np.float32(2) * c + r
            shift = np.float32(0.5) * (lo - r) / d if d < 0 else np.float32(0)
            out[t, 2 + found] = (np.float32(k) + shift) * hz
            found += 1
    return out


# ---- Noise reduction -------------------------------------------------------------------

def reduce_noise(samples, noise_frames=10, speech_ratio=3.0):
    """Wiener noise reduction of 8 kHz speech, frame by frame with the Aurora steps.

    Every 80 samples, the 200-sample frame centred on them (Hann window, 256-point
    transform) gives a smoothed power spectrum of 65 bins; frames whose power stays
    below `speech_ratio` times the noise estimate update the noise spectrum (the first
    `noise_frames` frames set it); the Wiener gains of the frame, with the previous
    frame's denoised spectrum for the decision-directed estimate, become a zero-phase
    impulse response by an inverse cosine transform, whose first 10 values make the 17
    taps that filter the 80 samples.  samples: 1-D int16 or float32.  Returns float32 of
    the same length.
    """
    x = _samples(samples).astype(np.float32)
    hop, frame, fft_len, bins = 80, 200, 256, 65
    blocks = -(-x.size // hop)
    padded = np.zeros(blocks * hop + frame + hop, np.float32)
    lead = (frame - hop) // 2
    padded[lead:lead + x.size] = x
    window = np.hanning(frame + 2)[1:-1].astype(np.float32)
    # The half impulse response of the gains: h[n] = sum_k c_k H(k) cos(pi k n / 64) / 128.
    n = np.arange(10)[:, None]
    k = np.arange(bins)[None, :]
    weight = np.where((k == 0) | (k == bins - 1), 1.0, 2.0)
    idct = (weight * np.cos(np.pi * k * n / (bins - 1)) / (2 * (bins - 1))).astype(np.float32)
    packed = np.zeros(fft_len, np.float32)
    power = np.zeros(bins, np.float32)
    noise = np.zeros(bins, np.float32)
    denoised = np.zeros(bins, np.float32)
    gains = np.zeros(bins, np.float32)
    taps = np.zeros(17, np.float32)
    history = np.zeros(16 + hop, np.float32)
    out = np.zeros(blocks * hop + 8, np.float32)
    for t in range(blocks):
        spec = np.fft.rfft(padded[t * hop:t * hop + frame] * window, fft_len)
        packed[0], packed[1] = spec[0].real, spec[-1].real
        packed[2::2], packed[3::2] = spec[1:-1].real, spec[1:-1].imag
        L.zemsSmoothedPowerSpectrumAurora_32f(packed, power, fft_len)
        if t < noise_frames:
            noise += (power - noise) / np.float32(t + 1)
        elif power.sum() < speech_ratio * noise.sum():
            L.zemsNoiseSpectrumUpdate_Aurora_32f(power, noise, noise, bins)
        L.zemsWienerFilterDesign_Aurora_32f(power, noise, denoised, gains, bins)
        np.multiply(gains * gains, power, out=denoised)
        L.zemsTabsCalculation_Aurora_32f(np.ascontiguousarray(idct @ gains), taps)
        history[:16] = history[hop:]
        history[16:] = padded[lead + t * hop:lead + (t + 1) * hop]
        L.zemsResidualFilter_Aurora_32f(history, out[t * hop:(t + 1) * hop], taps)
    # The taps centre on the ninth: the output lags the input by 8 samples.
    return out[8:8 + x.size].copy()
