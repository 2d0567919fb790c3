import ctypes
import gc
import os

import pytest

import zemsr

SOURCE = os.environ.get("ZEMSR_SOURCE_DIR") or os.path.join(os.path.dirname(__file__), "..", "..")
DATA = os.path.join(SOURCE, "examples", "data")


@pytest.fixture
def no_leaks():
    """Fails the test if the library holds more blocks after it than before."""
    gc.collect()
    before = zemsr.live_allocations()
    yield
    gc.collect()
    assert zemsr.live_allocations() == before


@pytest.fixture(scope="session")
def examples():
    """The demo's front end, the pitch tracker and the robust chain, built as a library by CMake."""
    path = os.environ.get("ZEMSR_EXAMPLES_LIB")
    if not path:
        pytest.skip("ZEMSR_EXAMPLES_LIB is not set (the ctest sets it)")
    return ctypes.CDLL(path)
