"""Reads the declarations of the public C header.

The header is plain C99 with one declaration per export, each starting with
``ZEMSR_API``; this module turns it into plain data (exports, status codes and
record type names) that the package's build writes into ``_exports.py``.
"""
import re

_COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.S)
_DECL = re.compile(r"^\s*ZEMSR_API\s+([^;]*?)\b([A-Za-z_]\w*)\s*\(([^)]*)\)\s*;", re.M | re.S)
_STATUS_ENUM = re.compile(r"typedef\s+enum\s*\{([^}]*)\}\s*ZemStatus\s*;", re.S)
_OPAQUE = re.compile(r"typedef\s+struct\s+(\w+)\s+\1\s*;")


def _type(text):
    """(base type, pointer depth, const) of a declaration's type text."""
    const = bool(re.match(r"\s*const\b", text))
    depth = text.count("*")
    words = [w for w in re.findall(r"[A-Za-z_]\w*", text) if w != "const"]
    return " ".join(words), depth, const


def _param(text, records):
    text = " ".join(text.split())
    m = re.match(r"(.*?[\s*])([A-Za-z_]\w*)$", text)
    if not m:
        raise ValueError("cannot read the parameter %r" % text)
    base, depth, const = _type(m.group(1))
    # "R* const*" is an array of records that the call reads; a plain "R**" receives a new
    # record.
    if base in records and depth == 2 and re.search(r"\*\s*const\s*\*", m.group(1)):
        const = True
    return (m.group(2), base, depth, const)


def parse(text):
    """Returns {"exports": [(name, (ret base, depth, const), [(arg, base, depth, const)...])],
    "status": {name: number}, "records": [type names]}."""
    text = _COMMENT.sub(" ", text)
    text = "\n".join(line for line in text.splitlines() if not line.lstrip().startswith("#"))
    records = sorted(set(_OPAQUE.findall(text)))
    exports = []
    for m in _DECL.finditer(text):
        params = m.group(3).strip()
        args = [] if params in ("", "void") else [_param(p, records) for p in params.split(",")]
        exports.append((m.group(2), _type(m.group(1)), args))
    status = {}
    body = _STATUS_ENUM.search(text)
    if body:
        for item in body.group(1).split(","):
            if "=" in item:
                name, value = item.split("=")
                status[name.strip()] = int(value.strip())
    return {"exports": exports, "status": status, "records": records}


def write_module(header_path, out_path):
    """Writes the declarations of header_path as a Python module to out_path."""
    with open(header_path, encoding="utf-8") as f:
        decls = parse(f.read())
    with open(out_path, "w", encoding="utf-8") as f:
        f.write("# Generated from include/zemsr.h when the package is built; do not edit.\n")
        f.write("STATUS = %r\n" % (decls["status"],))
        f.write("RECORDS = %r\n" % (decls["records"],))
        f.write("EXPORTS = [\n")
        for e in decls["exports"]:
            f.write("    %r,\n" % (e,))
        f.write("]\n")
    return decls
