"""Voice activity of a signal in one call, with the noise-suppressed signal if wanted."""
import math

import numpy as np

from . import lowlevel as L
from .highlevel import _samples, frame_count

SPEECH, NOISE, UNDECIDED = 1, 2, 4

# Per rate: frame (20 ms), hop (10 ms), transform length.
_LAYOUT = {16000: (320, 160, 512), 8000: (160, 80, 256)}
_BANDS, _SPECTRUM = 25, 64
# A decision reflects the ring of the last seven frames: it belongs to the ring's middle frame.
_DELAY = 3
_F32 = np.float32


def _mel_weights(rate, fft_len):
    """(bins, 25) triangular mel weights from 64 Hz to rate/2, zero outside each band."""
    def mel(hz):
        return 2595.0 * math.log10(1.0 + hz / 700.0)
    bins = fft_len // 2 + 1
    lo, hi = mel(64.0), mel(rate / 2.0)
    edge = [700.0 * (10.0 ** ((lo + (hi - lo) * b / (_BANDS + 1)) / 2595.0) - 1.0) * fft_len / rate
            for b in range(_BANDS + 2)]
    w = np.zeros((bins, _BANDS))
    for b in range(_BANDS):
        for k in range(int(edge[b]), min(int(edge[b + 2]) + 2, bins)):
            if k < edge[b + 1]:
                v = (k - edge[b]) / (edge[b + 1] - edge[b])
            else:
                v = (edge[b + 2] - k) / (edge[b + 2] - edge[b + 1])
            w[k, b] = max(v, 0.0)
    return w


def _state(type_name, size_call, *size_args):
    size = np.zeros(1, np.int32)
    size_call(*size_args, size)
    return L.Record.in_buffer(type_name, int(size[0]))


def vad_decisions(samples, rate=16000, return_enhanced=False):
    """Voice activity decision per 10 ms frame of a signal at 8 or 16 kHz.

    Frames of 20 ms every 10 ms (Hann window, a transform of 512 points at 16 kHz, 256
    at 8 kHz).  Each frame's power spectrum (plus one) passes MCRA noise tracking; the
    decision-directed a priori SNR (0.98 of the last cleaned frame, floored at 0.003)
    gives the Wiener gain (at most 1) and from it the Ephraim-Malah gain, held to
    0.1 .. 1.  The cleaned spectrum feeds the Aurora voice activity detector: the log
    of 25 mel bands (64 Hz to rate/2, floored at 1) and the log of 64 sums of bin pairs.
    A decision is given to the middle frame of the detector's seven-frame ring, so the
    detector is flushed at the end to decide the last frames.  These are the settings of
    the bundled robust demo.

    samples: 1-D int16 or float32 (int16 scale).  Returns int8 (frames,) of SPEECH (1),
    NOISE (2) or UNDECIDED (4; the first frames, while the detector learns the noise);
    with return_enhanced, also the noise-suppressed signal (float32, same length; the
    overlap-add of the cleaned frames, zero past the last whole frame).
    """
    x = _samples(samples)
    if rate not in _LAYOUT:
        raise ValueError("rate must be 8000 or 16000, not %r" % (rate,))
    frame, hop, fft_len = _LAYOUT[rate]
    frames = frame_count(x.size, frame, hop)
    if frames < 1:
        raise ValueError("samples: %d samples hold no frame of %d" % (x.size, frame))
    bins = fft_len // 2 + 1

    window = 0.5 - 0.5 * np.cos(2 * math.pi * np.arange(frame) / frame)
    starts = np.arange(frames) * hop
    spec = np.fft.rfft(np.lib.stride_tricks.sliding_window_view(x.astype(np.float64), frame)[starts] * window,
                       fft_len)
    power = (spec.real ** 2 + spec.imag ** 2).astype(_F32) + _F32(1)

    mcra = _state("ZemsMCRAState_32f", L.zemsGetSizeMCRA_32f, fft_len)
    L.zemsAltInitMCRA_32f(rate, fft_len, hop, mcra)
    noise = np.zeros(bins, _F32)
    wiener = np.empty(bins, _F32)
    gain = np.empty(bins, _F32)
    clean = np.empty((frames, bins), _F32)
    update, wiener_gain, em_gain = L.zemsUpdateNoisePSDMCRA_32f_I, L.zemsFilterUpdateWiener_32f, \
        L.zemsFilterUpdateEMNS_32f
    with mcra:
        for f in range(frames):
            p = power[f]
            update(p, mcra, noise)
            post = p / noise
            fresh = np.where(post > 1, post - _F32(1), _F32(0))
            xi = fresh if f == 0 else _F32(0.98) * clean[f - 1] / noise + _F32(0.02) * fresh
            xi = np.where(xi < _F32(0.003), _F32(0.003), xi)
            wiener_gain(xi, wiener, bins)
            np.minimum(wiener, _F32(1), out=wiener)
            em_gain(wiener, post, gain, bins)
            g = np.clip(gain, _F32(0.1), _F32(1))
            np.multiply(g * g, p, out=clean[f])

    # The detector's inputs for every frame, each band summed over the bins in order.
    weights = _mel_weights(rate, fft_len)
    bands = np.zeros((frames, _BANDS))
    for k in np.flatnonzero(weights.any(1)):
        bands += weights[k] * clean[:, k, None].astype(np.float64)
    bands = np.log(np.maximum(bands.astype(_F32), _F32(1)).astype(np.float64)).astype(_F32)
    pairs = np.log((clean[:, 0:2 * _SPECTRUM:2] + clean[:, 1:2 * _SPECTRUM:2]).astype(np.float64)).astype(_F32)

    decisions = np.full(frames, UNDECIDED, np.int8)
    d = np.zeros(1, np.int32)
    with _state("ZemsVADState_Aurora", L.zemsVADGetBufSize_Aurora_32f) as vad:
        L.zemsVADInit_Aurora_32f(vad)
        for f in range(frames):
            L.zemsVADDecision_Aurora_32f(bands[f], pairs[f], 0, d, vad)
            if f >= _DELAY:
                decisions[f - _DELAY] = d[0]
        for call in range(frames, frames + 8):
            L.zemsVADFlush_Aurora_32f(d, vad)
            if d[0] == UNDECIDED:
                break
            if call - _DELAY < frames:
                decisions[call - _DELAY] = d[0]
    if not return_enhanced:
        return decisions

    # Each frame's spectrum scaled to the cleaned power, back to time and overlap-added
    # (Hann windows at half overlap sum to one).
    scale = np.sqrt(clean / (spec.real ** 2 + spec.imag ** 2 + 1.0))
    pieces = np.fft.irfft(spec * scale, fft_len)[:, :frame]
    blocks = np.zeros((frames + 1, hop))
    blocks[:-1] += pieces[:, :hop]
    blocks[1:] += pieces[:, hop:]
    out = np.zeros(x.size, _F32)
    out[:blocks.size] = blocks.ravel()
    return decisions, out


def speech_segments(decisions, rate=16000):
    """The runs of SPEECH in vad_decisions' output as [(start_s, end_s), ...]: frame f
    stands for the hop around its centre, so a run of frames a..b spans
    (a hop + frame/2 - hop/2) / rate to (b hop + frame/2 + hop/2) / rate."""
    if rate not in _LAYOUT:
        raise ValueError("rate must be 8000 or 16000, not %r" % (rate,))
    frame, hop, _ = _LAYOUT[rate]
    speech = np.concatenate(([False], np.asarray(decisions) == SPEECH, [False]))
    edges = np.flatnonzero(speech[1:] != speech[:-1])
    lead = (frame - hop) / 2
    return [((a * hop + lead) / rate, (b * hop + lead) / rate) for a, b in zip(edges[::2], edges[1::2])]
