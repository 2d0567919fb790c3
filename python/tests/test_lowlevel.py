import gc
import os
import re
import warnings

import numpy as np
import pytest

import zemsr
from zemsr import lowlevel as L
from conftest import SOURCE


def header_exports():
    path = os.environ.get("ZEMSR_HEADER") or os.path.join(SOURCE, "include", "zemsr.h")
    with open(path) as f:
        text = re.sub(r"/\*.*?\*/", " ", f.read(), flags=re.S)
    return re.findall(r"^ZEMSR_API[^;(]*?\b(\w+)\s*\(", text, flags=re.M)


def test_every_export_of_the_header_is_callable():
    # A second, independent reading of the header: the generated layer may miss none.
    names = header_exports()
    assert len(names) > 500
    missing = [n for n in names if not isinstance(getattr(L, n, None), L.Export)]
    assert missing == []
    assert sorted(L.EXPORT_NAMES) == sorted(names)


def test_version_record():
    v = L.zemsrGetLibVersion()
    assert v.major == 6 and v.name


def test_status_numbers_become_exceptions_and_warnings():
    s = np.array([-12.5, -10.0, -11.25], np.float32)
    d = np.zeros(1, np.float32)
    assert L.zemsLogSum_32f(s, d, np.int64(3)) == 0
    assert d[0] == pytest.approx(np.log(np.exp(s.astype(np.float64)).sum()), abs=1e-4)
    with pytest.raises(zemsr.errors.BadSizeError) as e:
        L.zemsLogSum_32f(s, d, 0)
    assert e.value.name == "zemStatusBadSize" and e.value.status == -6 and "zemsLogSum_32f" in str(e.value)
    with pytest.raises(zemsr.errors.NullPointerError):
        L.zemsLogSum_32f(None, d, 3)
    assert issubclass(zemsr.errors.NullPointerError, zemsr.ZemError)
    # Zero occupancy is a warning: the call returns its status, nothing is raised.
    acc = np.ones(4, np.float32)
    mean = np.full(4, 7.0, np.float32)
    with pytest.warns(zemsr.errors.ZeroOccupancyWarning):
        assert L.zemsUpdateMean_32f(acc, mean, 4, 0.0) == 16
    # A warning with results: every weight took its floor and the weights are written.
    w = np.zeros(2, np.float32)
    total = np.zeros(1, np.float32)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        L.zemsUpdateWeight_32f(np.zeros(2, np.float32), w, 2, total, 10.0, 0.25)
    assert [c.category for c in caught] == [zemsr.errors.FloorWarning]
    assert list(w) == [0.25, 0.25]


def test_bad_arguments_are_refused_before_the_call():
    f32 = np.zeros(4, np.float32)
    readonly = np.zeros(4, np.float32)
    readonly.flags.writeable = False
    bank = L.zemsMelFBankInitAlloc_32f(np.zeros(1, np.int32), 400, 16000.0, 64.0, 8000.0, 26, 1127.0, 700.0, 1)
    cases = [  # (call, exception, words the message must hold)
        (lambda: L.zemsLogSum_32f(f32.astype(np.float64), f32[:1], 4), TypeError, ["src", "float32"]),
        (lambda: L.zemsLogSum_32f(np.zeros(8, np.float32)[::2], f32[:1], 4), ValueError, ["src", "contiguous"]),
        (lambda: L.zemsLogSum_32f(f32, readonly, 4), ValueError, ["dst", "writeable"]),
        (lambda: L.zemsLogSum_32f([0.0] * 4, f32[:1], 4), TypeError, ["src", "list"]),
        (lambda: L.zemsLogSum_32f(f32, f32[:1], 4.0), TypeError, ["len", "integer"]),
        (lambda: L.zemsLogSum_32f(f32, f32[:1], 2**31), ValueError, ["len", "fit"]),
        (lambda: L.zemsLogSum_32f(f32, f32[:1], True), TypeError, ["len", "integer"]),
        (lambda: L.zemsLogSum_32f(f32, f32[:1], np.int64(-2**31 - 1)), ValueError, ["len", "fit"]),
        (lambda: L.zemsLogSum_32f(f32, f32[:1]), TypeError, ["takes 3"]),
        (lambda: L.zemsDCTLifter_32f(f32, f32, bank), TypeError, ["state", "ZemsDCTLifterState_32f"]),
        (lambda: L.zemsDCTLifter_32f(f32, f32, f32), TypeError, ["state", "record"]),
        (lambda: L.zemsMeanColumn_32f_D2L(np.zeros((2, 3, 1), np.float32), 2, f32, 3), ValueError, ["2-D"]),
        (lambda: L.zemsMeanColumn_32f_D2L([f32, f32.astype(np.int16)], 2, f32, 3), TypeError, ["srcRows"]),
    ]
    for call, exc, words in cases:
        with pytest.raises(exc) as e:
            call()
        for w in words:
            assert w in str(e.value), (str(e.value), w)
    bank.close()


def test_buffers_and_row_tables_reach_the_same_data():
    rng = np.random.default_rng(1)
    x = rng.standard_normal((5, 3)).astype(np.float32)
    a, b, c = (np.zeros(3, np.float32) for _ in range(3))
    L.zemsMeanColumn_32f_D2(x, 5, 3, a, 3)
    L.zemsMeanColumn_32f_D2L(x, 5, b, 3)
    L.zemsMeanColumn_32f_D2L(list(x), 5, c, 3)
    assert np.array_equal(a, b) and np.array_equal(a, c)
    np.testing.assert_allclose(a, x.mean(axis=0), rtol=1e-6)
    out = bytearray(4)
    L.zemsLogSum_32f(memoryview(np.array([0.0, 0.0], np.float32)).cast("B").cast("f"),
                     memoryview(out).cast("f"), 2)
    assert np.frombuffer(out, np.float32)[0] == pytest.approx(np.log(2.0), abs=1e-6)


def test_records_free_themselves_once(no_leaks):
    before = zemsr.live_allocations()
    order = np.zeros(1, np.int32)
    with L.zemsDCTLifterInitAlloc_C0_32f(26, 12, 22, 1.0, 1.0) as lifter:
        assert zemsr.live_allocations() > before and not lifter.closed
    assert lifter.closed and zemsr.live_allocations() == before
    lifter.close()  # twice is harmless
    with pytest.raises(ValueError, match="closed"):
        L.zemsDCTLifter_32f(np.zeros(26, np.float32), np.zeros(13, np.float32), lifter)
    # Dropped without close: the finaliser frees it.
    L.zemsMelFBankInitAlloc_32f(order, 400, 16000.0, 64.0, 8000.0, 26, 1127.0, 700.0, 5)
    gc.collect()
    assert zemsr.live_allocations() == before
    # A failing allocating call leaves nothing behind.
    with pytest.raises(zemsr.ZemError):
        L.zemsMelFBankInitAlloc_32f(order, 0, 16000.0, 64.0, 8000.0, 26, 1127.0, 700.0, 5)


def test_record_in_a_buffer_matches_the_allocated_one(no_leaks):
    size = np.zeros(1, np.int32)
    L.zemsDCTLifterGetSize_C0_32f(26, 12, size)
    mine = zemsr.Record.in_buffer("ZemsDCTLifterState_32f", size[0])
    L.zemsDCTLifterInit_C0_32f(mine, 26, 12, 22, 1.0, 1.0)
    src = np.linspace(-1, 3, 26, dtype=np.float32)
    a, b = np.zeros(13, np.float32), np.zeros(13, np.float32)
    L.zemsDCTLifter_32f(src, a, mine)
    with L.zemsDCTLifterInitAlloc_C0_32f(26, 12, 22, 1.0, 1.0) as theirs:
        L.zemsDCTLifter_32f(src, b, theirs)
    assert np.array_equal(a, b)
    mine.close()
    with pytest.raises(TypeError):
        zemsr.Record.in_buffer("NoSuchRecord", 16)
