"""Builds the zemsr package over a CMake build of the library.

The low-level layer is generated here from include/zemsr.h, and the shared
libraries are copied into the package, so an installed package stands alone.
ZEMSR_HEADER and ZEMSR_LIBRARY_DIR override where the header and the built
libraries are found (default: ../include/zemsr.h and ../build/release).
"""
import glob
import os
import shutil
import sys

from setuptools import setup
from setuptools.command.build_py import build_py

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "zemsr"))
import _header  # noqa: E402  (the header reader, without importing the package)


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        header = os.environ.get("ZEMSR_HEADER") or os.path.join(HERE, "..", "include", "zemsr.h")
        libdir = os.environ.get("ZEMSR_LIBRARY_DIR") or os.path.join(HERE, "..", "build", "release")
        target = os.path.join(self.build_lib, "zemsr")
        decls = _header.write_module(header, os.path.join(target, "_exports.py"))
        print("zemsr: %d exports from %s" % (len(decls["exports"]), header))
        os.makedirs(os.path.join(target, "_lib"), exist_ok=True)
        for lib in ("libzemcore.so", "libzemsr.so", "libzemsr_pyrows.so"):
            found = sorted(glob.glob(os.path.join(libdir, lib + "*")), key=len)
            if not found:
                raise SystemExit("zemsr: no %s in %s (build the library with CMake first, or set "
                                 "ZEMSR_LIBRARY_DIR)" % (lib, libdir))
            shutil.copyfile(found[-1], os.path.join(target, "_lib", lib))


setup(
    name="zemsr",
    version="6.1",
    description="numpy interface to the zemsr speech recognition primitives",
    packages=["zemsr"],
    python_requires=">=3.9",
    cmdclass={"build_py": BuildWithLibrary},
    zip_safe=False,
)
