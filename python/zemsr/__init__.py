"""zemsr: numeric primitives for speech recognition over numpy arrays.

``zemsr.lowlevel`` holds every export of the C library under its C name; the
functions here do the common jobs in one call each.
"""
from . import errors, lowlevel
from .errors import ZemError, ZemWarning
from .highlevel import (CopyNote, column_stats, dtw_distance, features, frame_count, gmm_loglik,
                        normalize_columns, pitch_formants, reduce_noise, resample)
from .codebook import Codebook, quantize, split_quantize, train_codebook
from .lowlevel import Record, live_allocations
from .vad import NOISE, SPEECH, UNDECIDED, speech_segments, vad_decisions

__all__ = ["errors", "lowlevel", "ZemError", "ZemWarning", "Record", "live_allocations", "CopyNote",
           "features", "frame_count", "gmm_loglik", "dtw_distance", "column_stats", "normalize_columns",
           "resample", "pitch_formants", "reduce_noise", "vad_decisions", "speech_segments", "SPEECH", "NOISE",
           "UNDECIDED", "Codebook", "train_codebook", "quantize", "split_quantize"]
