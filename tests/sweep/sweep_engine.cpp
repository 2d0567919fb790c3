// The sweep's engine: cases derived from the rows, each run in a child process so that a
// sanitizer report or a crash ends one case and not the sweep; the parent collects the
// findings and compares them with the known list.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>

#include "sweep.h"

// Huge sizes must come back as zemStatusNoMemory from the allocator, not end the sweep.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace sweep {
namespace {

// What a sweep did: the calls made, and the allocation points at which a walk failed an
// allocation.  Counted in the child that runs the cases and reported to the parent.
struct Tally {
    int64_t calls = 0;
    int64_t allocationPoints = 0;
    int64_t cases = 0;
    int64_t exports = 0;
};
Tally childTally, totalTally;

bool fullMode() {
    const char* e = std::getenv("ZEMSR_SWEEP_FULL");
    return e && *e && *e != '0';
}

// ---- Memory of exact extent --------------------------------------------------------------
// A zero extent points into a page that no access may touch.
void* inaccessiblePage() {
    static void* page = [] {
        void* p = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return p == MAP_FAILED ? nullptr : p;
    }();
    return page;
}

// A block of exactly `bytes` bytes that starts `offset` bytes past a 64-byte boundary and
// ends where the allocation ends, so the sanitizer reports one byte too many.
struct Block {
    void* base = nullptr;
    unsigned char* data = nullptr;
    size_t bytes = 0;
    std::vector<unsigned char> snapshot;
    bool constant = false;  // the export may not change it, whatever its status
    std::string what;
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { std::free(base); }
    void allocate(size_t n, size_t offset) {
        bytes = n;
        if (n == 0) {
            data = static_cast<unsigned char*>(inaccessiblePage());
            return;
        }
        if (posix_memalign(&base, 64, n + offset) != 0) std::abort();
        data = static_cast<unsigned char*>(base) + offset;
    }
    void take() { snapshot.assign(data, data + bytes); }
    bool same() const { return bytes == 0 || std::memcmp(snapshot.data(), data, bytes) == 0; }
};

double limitOf(Elem e, bool upper) {
    switch (e) {
        case Elem::U8: return upper ? 255 : 0;
        case Elem::S8: return upper ? 127 : -128;
        case Elem::S16: return upper ? 32767 : -32768;
        case Elem::U16: return upper ? 65535 : 0;
        case Elem::S32: return upper ? 2147483647.0 : -2147483648.0;
        case Elem::S64: return upper ? 9.2e18 : -9.2e18;
        case Elem::F32: return upper ? std::numeric_limits<float>::max() : -std::numeric_limits<float>::max();
        default: return upper ? std::numeric_limits<double>::max() : -std::numeric_limits<double>::max();
    }
}

bool isFloat(Elem e) { return e == Elem::F32 || e == Elem::F64; }

// The integer reading of a case's value: 0 for NaN and infinities, clamped to 64 bits.
int64_t intOf(double v) {
    if (std::isnan(v)) return 0;
    return static_cast<int64_t>(std::fmin(std::fmax(v, -9.2e18), 9.2e18));
}

void store(Elem e, void* p, int64_t i, double v) {
    if (!isFloat(e) && !std::isnan(v)) v = std::fmin(std::fmax(std::nearbyint(v), limitOf(e, false)), limitOf(e, true));
    switch (e) {
        case Elem::U8: static_cast<uint8_t*>(p)[i] = static_cast<uint8_t>(v); break;
        case Elem::S8: static_cast<int8_t*>(p)[i] = static_cast<int8_t>(v); break;
        case Elem::S16: static_cast<int16_t*>(p)[i] = static_cast<int16_t>(v); break;
        case Elem::U16: static_cast<uint16_t*>(p)[i] = static_cast<uint16_t>(v); break;
        case Elem::S32: static_cast<int32_t*>(p)[i] = static_cast<int32_t>(v); break;
        case Elem::S64: static_cast<int64_t*>(p)[i] = static_cast<int64_t>(v); break;
        case Elem::F32: static_cast<float*>(p)[i] = static_cast<float>(v); break;
        case Elem::F64: static_cast<double*>(p)[i] = v; break;
        default: break;
    }
}

void fillData(Elem e, void* p, int64_t n, const Arg& a, std::mt19937& rng) {
    double lo = a.lo, hi = a.hi;
    if (lo == hi) {
        switch (e) {
            case Elem::U8: lo = 0, hi = 255; break;
            case Elem::S8: lo = -100, hi = 100; break;
            case Elem::S16: lo = -100, hi = 100; break;
            case Elem::U16: lo = 0, hi = 200; break;
            case Elem::S32: lo = -1000, hi = 1000; break;
            default: lo = -1, hi = 1; break;
        }
    }
    std::uniform_real_distribution<double> d(lo, hi);
    for (int64_t i = 0; i < n; ++i) store(e, p, i, a.fill ? a.fill(i) : d(rng));
}

// ---- Cases ------------------------------------------------------------------------------
enum class Expect { Pass, Fail, Any };
enum class Kind { Baseline, Null, NullRow, Value, Extreme, AllocWalk, Ways };

struct Case {
    std::string label;
    Kind kind = Kind::Baseline;
    Expect expect = Expect::Any;
    int arg = -1;
    int64_t ival = 0;
    double fval = 0;
    int rowIndex = 0;  // NullRow: 0 first, 1 last
    size_t offsetElems = 0;
};

std::string argName(const Row& r, int i) {
    std::ostringstream o;
    o << "arg" << i + 1;
    (void)r;
    return o.str();
}

std::string num(double v) {
    if (std::isnan(v)) return "NaN";
    if (std::isinf(v)) return v > 0 ? "+Inf" : "-Inf";
    if (v == -2147483648.0) return "INT_MIN";
    if (v == 2147483647.0) return "INT_MAX";
    if (v == std::numeric_limits<float>::max()) return "FLT_MAX";
    if (v == -std::numeric_limits<float>::max()) return "-FLT_MAX";
    if (v == std::numeric_limits<double>::max()) return "DBL_MAX";
    if (v == -std::numeric_limits<double>::max()) return "-DBL_MAX";
    std::ostringstream o;
    o << v;
    return o.str();
}

bool isPointerRole(Role r) {
    return r == Role::Buf || r == Role::OutBuf || r == Role::Rows || r == Role::Rec || r == Role::NewRec ||
           r == Role::OwnRec || r == Role::RecBuf || r == Role::Recs;
}

std::vector<double> extremesOf(Elem e) {
    if (isFloat(e)) {
        const double big = limitOf(e, true);
        return {std::nan(""), INFINITY, -INFINITY, big, -big};
    }
    return {limitOf(e, false), limitOf(e, true)};
}

std::vector<Case> casesOf(const Row& r) {
    const bool full = fullMode();
    std::vector<Case> cs;
    cs.push_back({"baseline", Kind::Baseline, Expect::Pass});
    if (!(r.flags & kNoMisalign)) {
        Case c{"baseline misaligned", Kind::Baseline, Expect::Pass};
        c.offsetElems = 1;
        cs.push_back(c);
    }
    for (int i = 0; i < static_cast<int>(r.args.size()); ++i) {
        const Arg& a = r.args[i];
        const Param& p = r.params[i];
        const std::string n = argName(r, i);
        if (isPointerRole(a.role)) {
            Case c{n + "=null", Kind::Null, a.nullable ? Expect::Any : Expect::Fail, i};
            cs.push_back(c);
        }
        if (a.role == Role::Rows || a.role == Role::Recs) {
            cs.push_back({n + "[0]=null", Kind::NullRow, Expect::Fail, i, 0, 0, 0});
            cs.push_back({n + "[last]=null", Kind::NullRow, Expect::Fail, i, 0, 0, 1});
        }
        if ((a.role == Role::Buf || a.role == Role::Rows) && !a.noExtremes) {
            const Elem e = a.role == Role::Rows ? p.inner : p.elem;
            for (double v : extremesOf(e)) cs.push_back({n + " all " + num(v), Kind::Extreme, Expect::Any, i, 0, v});
            if (full)
                for (double v : extremesOf(e))
                    cs.push_back({n + " first " + num(v), Kind::Extreme, Expect::Any, i, 1, v});
        }
        auto value = [&](int64_t v, Expect x) {
            cs.push_back({n + "=" + num(static_cast<double>(v)), Kind::Value, x, i, v, static_cast<double>(v)});
        };
        switch (a.role) {
            case Role::Len:
            {
                const int64_t mv = a.minValid(r.dims);
                std::set<int64_t> bad = {mv - 1, int64_t{0}, int64_t{-1}, int64_t{INT32_MIN}};
                for (int64_t v : bad)
                    if (v < mv && v >= INT32_MIN) value(v, Expect::Fail);
            }
                if (a.maxSafe) value(INT32_MAX, Expect::Any);
                break;
            case Role::Count:
                for (int64_t v : {int64_t{0}, int64_t{-1}, int64_t{INT32_MIN}, int64_t{INT32_MAX},
                                  int64_t{INT32_MAX / 2 + 1}})
                    value(v, Expect::Any);
                break;
            case Role::Step:
                for (int64_t v : {int64_t{0}, int64_t{-1}, int64_t{INT32_MIN}}) value(v, Expect::Fail);
                cs.push_back({n + "=width-1", Kind::Value, Expect::Fail, i, 1});
                break;
            case Role::Sf: {
                std::vector<int64_t> v = {INT32_MIN, -32, -31, -1, 1, 31, 32, INT32_MAX};
                if (full) v.insert(v.end(), {INT32_MIN + 1, -64, -33, -17, -16, -15, 14, 15, 16, 17, 33, 64,
                                             1000, 2000, -2000, INT32_MAX - 1});
                for (int64_t x : v) value(x, Expect::Any);
                break;
            }
            case Role::Val:
                for (double v : extremesOf(p.elem))
                    cs.push_back({n + "=" + num(v), Kind::Value, Expect::Any, i, intOf(std::isfinite(v) ? v : 0), v});
                break;
            case Role::Alt:
                for (double v : a.alts)
                    cs.push_back({n + "=" + num(v), Kind::Value, Expect::Any, i, intOf(v), v});
                break;
            default: break;
        }
    }
    cs.push_back({"allocation walk", Kind::AllocWalk, Expect::Any});
    for (const Arg& a : r.args)
        if (a.role == Role::Rec) {
            cs.push_back({"record built every way", Kind::Ways, Expect::Pass});
            break;
        }
    return cs;
}

// ---- One call, set up from the row --------------------------------------------------------
struct Setup {
    const Row& row;
    std::vector<Slot> slots;
    std::vector<std::unique_ptr<Block>> blocks;
    std::map<int, size_t> cellBlock;  // NewRec argument -> its block
    struct Made {
        const RecordKind* kind;
        void* rec;
        bool allocated;
    };
    std::vector<Made> records;  // built for Rec roles
    struct Owned {
        int arg;
        void* rec;
        int64_t blocks;
    };
    std::vector<Owned> owned;  // OwnRec records, handed to the call
    explicit Setup(const Row& r) : row(r), slots(r.args.size()) {}
    ~Setup() {
        for (const Made& m : records)
            if (m.allocated && m.kind->release) m.kind->release(m.rec);
    }
    Block& block(size_t bytes, size_t offset, bool constant, std::string what) {
        blocks.push_back(std::make_unique<Block>());
        Block& b = *blocks.back();
        b.allocate(bytes, offset);
        b.constant = constant;
        b.what = std::move(what);
        return b;
    }
};

// way: -1 the default (Init at offset 0 when the kind has one), 0 InitAlloc, 1.. Init at
// offset 8 * (way - 1).
std::string buildRecord(Setup& s, int i, int way) {
    const RecordKind& k = *s.row.args[i].kind;
    const bool useInit = k.init && (way != 0) && !(way == -1 && !k.size);
    if (useInit) {
        const size_t off = way > 0 ? 8 * static_cast<size_t>(way - 1) : 0;
        const int64_t bytes = k.size();
        if (bytes <= 0) return k.name + std::string(": its size query failed");
        Block& b = s.block(static_cast<size_t>(bytes), off, false, argName(s.row, i) + " (record)");
        std::memset(b.data, 0x5a, b.bytes);
        const ZemStatus st = k.init(b.data);
        if (st < 0) return k.name + std::string(": Init failed with ") + std::to_string(st);
        s.slots[i].p = b.data;
        s.records.push_back({&k, b.data, false});
        return "";
    }
    if (!k.alloc) return k.name + std::string(": no way to build it");
    void* rec = nullptr;
    const ZemStatus st = k.alloc(&rec);
    if (st < 0) return k.name + std::string(": InitAlloc failed with ") + std::to_string(st);
    s.slots[i].p = rec;
    s.records.push_back({&k, rec, true});
    return "";
}

std::string prepare(Setup& s, const Case& c, int way, uint32_t seed) {
    const Row& r = s.row;
    const Dims& d = r.dims;
    std::mt19937 rng(seed);
    for (int i = 0; i < static_cast<int>(r.args.size()); ++i) {
        const Arg& a = r.args[i];
        const Param& p = r.params[i];
        Slot& sl = s.slots[i];
        const std::string n = argName(r, i);
        switch (a.role) {
            case Role::Buf:
            case Role::OutBuf: {
                if (!p.pointer || p.elemSize == 0) return n + ": the row gives a buffer, the export takes no data pointer";
                const int64_t count = a.extent(d);
                const size_t off = c.offsetElems * p.elemSize;
                Block& b = s.block(static_cast<size_t>(count) * p.elemSize, off, p.constPointee, n);
                if (a.role == Role::OutBuf) std::memset(b.data, 0x5a, b.bytes);
                else if (count > 0) fillData(p.elem, b.data, count, a, rng);
                sl.p = b.data + a.before(d) * static_cast<int64_t>(p.elemSize);
                break;
            }
            case Role::Rows: {
                if (p.elem != Elem::Ptr || p.innerSize == 0) return n + ": the row gives rows, the export takes no row pointers";
                const int64_t h = a.extent(d), w = a.rowLen(d);
                Block& arr = s.block(static_cast<size_t>(h) * sizeof(void*), 0, true, n + " (row pointers)");
                for (int64_t j = 0; j < h; ++j) {
                    Block& b = s.block(static_cast<size_t>(w) * p.innerSize, c.offsetElems * p.innerSize,
                                       p.innerConst, n + "[" + std::to_string(j) + "]");
                    if (w > 0) fillData(p.inner, b.data, w, a, rng);
                    std::memcpy(arr.data + j * sizeof(void*), &b.data, sizeof(void*));
                }
                sl.p = arr.data;
                break;
            }
            case Role::Len:
            case Role::Count:
            case Role::Step:
            case Role::Sf:
            case Role::Fixed:
                if (a.isFloatValue) sl.i = intOf(a.fvalue), sl.f = a.fvalue;
                else sl.i = a.value(d), sl.f = static_cast<double>(sl.i);
                break;
            case Role::Val:
            case Role::Alt:
                sl.f = a.fvalue, sl.i = intOf(a.fvalue);
                break;
            case Role::Rec: {
                const std::string e = buildRecord(s, i, way);
                if (!e.empty()) return e;
                break;
            }
            case Role::Recs: {
                if (p.elem != Elem::Ptr) return n + ": the row gives records, the export takes no array of pointers";
                const int64_t count = a.extent(d);
                Block& arr = s.block(static_cast<size_t>(count) * sizeof(void*), 0, true, n + " (record pointers)");
                for (int64_t j = 0; j < count; ++j) {
                    const RecordKind& k = *a.kinds[static_cast<size_t>(j) % a.kinds.size()];
                    void* rec = nullptr;
                    if (!k.alloc || k.alloc(&rec) < 0) return n + ": could not allocate " + k.name;
                    s.records.push_back({&k, rec, true});
                    std::memcpy(arr.data + j * sizeof(void*), &rec, sizeof(void*));
                }
                sl.p = arr.data;
                break;
            }
            case Role::NewRec: {
                s.cellBlock[i] = s.blocks.size();
                Block& b = s.block(sizeof(void*), 0, false, n + " (out pointer)");
                std::memset(b.data, 0x5a, b.bytes);
                sl.p = b.data;
                break;
            }
            case Role::OwnRec: {
                void* rec = nullptr;
                const int64_t before = zemcoreTestLiveAllocations();
                if (!a.kind->alloc || a.kind->alloc(&rec) < 0) return n + ": could not allocate the record";
                s.owned.push_back({i, rec, zemcoreTestLiveAllocations() - before});
                sl.p = rec;
                break;
            }
            case Role::RecBuf: {
                const int64_t bytes = a.extent(d);
                if (bytes < 0) return n + ": the record size query failed";
                Block& b = s.block(static_cast<size_t>(bytes), way > 0 ? 8 * static_cast<size_t>(way - 1) : 0,
                                   false, n + " (record buffer)");
                std::memset(b.data, 0x5a, b.bytes);
                sl.p = b.data;
                break;
            }
        }
    }
    return "";
}

void applyBreak(Setup& s, const Case& c) {
    const Row& r = s.row;
    if (c.arg < 0) return;
    const Arg& a = r.args[c.arg];
    const Param& p = r.params[c.arg];
    Slot& sl = s.slots[c.arg];
    switch (c.kind) {
        case Kind::Null: sl.p = nullptr; break;
        case Kind::NullRow: {
            const int64_t h = a.extent(r.dims);
            const int64_t j = c.rowIndex == 0 ? 0 : h - 1;
            void* z = nullptr;
            std::memcpy(static_cast<unsigned char*>(sl.p) + j * sizeof(void*), &z, sizeof(void*));
            break;
        }
        case Kind::Value:
            if (c.label.ends_with("=width-1")) sl.i = a.minValid(r.dims) - 1;
            else sl.i = c.ival;
            sl.f = c.fval;
            break;
        case Kind::Extreme: {
            auto fillAll = [&](Elem e, void* data, int64_t n) {
                const int64_t upto = c.ival == 1 ? std::min<int64_t>(n, 1) : n;
                for (int64_t j = 0; j < upto; ++j) store(e, data, j, c.fval);
            };
            if (a.role == Role::Rows) {
                const int64_t h = a.extent(r.dims), w = a.rowLen(r.dims);
                for (int64_t j = 0; j < h; ++j) {
                    void* row;
                    std::memcpy(&row, static_cast<unsigned char*>(sl.p) + j * sizeof(void*), sizeof(void*));
                    fillAll(p.inner, row, w);
                }
            } else {
                fillAll(p.elem, static_cast<unsigned char*>(sl.p) - a.before(r.dims) * static_cast<int64_t>(p.elemSize),
                        a.extent(r.dims));
            }
            break;
        }
        default: break;
    }
}

struct Outcome {
    int status = 0;
    std::string failure;
};

// Runs the call on a prepared setup and checks what must hold whatever the case.
Outcome callAndCheck(Setup& s, Expect expect, int64_t failAt) {
    const Row& r = s.row;
    Outcome o;
    for (auto& b : s.blocks) b->take();
    const int64_t live0 = zemcoreTestLiveAllocations();
    if (failAt > 0) zemcoreTestFailAllocation(failAt);
    o.status = r.call(s.slots);
    ++childTally.calls;
    zemcoreTestFailAllocation(0);
    std::ostringstream f;
    if (expect == Expect::Fail && o.status >= 0) f << "accepted with status " << o.status << "; ";
    if (expect == Expect::Pass && o.status < 0) f << "valid call failed with status " << o.status << "; ";
    if (expect == Expect::Pass && r.expectBaseline != 0 && o.status != r.expectBaseline)
        f << "status " << o.status << " where " << r.expectBaseline << " was expected; ";
    if (failAt > 0 && o.status != zemStatusNoMemory && !(r.flags & kAllocFailureIgnored) &&
        !((r.flags & kAllocFailureAnyError) && o.status < 0))
        f << "allocation " << failAt << " failed, status " << o.status << " instead of zemStatusNoMemory; ";
    for (auto& b : s.blocks) {
        if (b->same()) continue;
        if (o.status == zemStatusNoMemory && b->what.ends_with("(out pointer)")) continue;
        if (b->constant) f << "changed " << b->what << ", which it may only read; ";
        else if (o.status < 0 && !(r.flags & kPartialStores))
            f << "status " << o.status << " with " << b->what << " changed; ";
    }
    // Records that the call made or took over.
    int64_t expectLive = live0;
    // A record from an InitAlloc is the caller's; on zemStatusNoMemory a partly built one
    // may stand in the out pointer, and the caller releases it.
    for (int i = 0; i < static_cast<int>(r.args.size()); ++i) {
        const Arg& a = r.args[i];
        if (a.role != Role::NewRec || !s.slots[i].p) continue;
        void* rec;
        std::memcpy(&rec, s.slots[i].p, sizeof(void*));
        const bool stored = !s.blocks[s.cellBlock[i]]->same();
        if ((o.status >= 0 || (o.status == zemStatusNoMemory && stored)) && rec && a.kind->release)
            a.kind->release(rec);
    }
    for (auto& ow : s.owned) {
        const bool taken = o.status >= 0 && s.slots[ow.arg].p;
        if (!taken && r.args[ow.arg].kind->release) r.args[ow.arg].kind->release(ow.rec);
        expectLive -= ow.blocks;
    }
    const int64_t live1 = zemcoreTestLiveAllocations();
    if (live1 != expectLive) f << "live blocks " << live0 << " before, " << live1 << " after (records released); ";
    s.owned.clear();
    o.failure = f.str();
    return o;
}

std::string runCase(const Row& r, const Case& c, uint32_t seed) {
    if (r.args.size() != r.params.size()) return "the row's roles do not match the export's arguments";
    if (c.kind == Kind::AllocWalk) {
        int64_t attempts;
        {
            Setup s(r);
            if (std::string e = prepare(s, c, -1, seed); !e.empty()) return e;
            const int64_t a0 = zemcoreTestAllocationCount();
            Outcome o = callAndCheck(s, Expect::Any, 0);
            attempts = zemcoreTestAllocationCount() - a0;
            if (!o.failure.empty()) return o.failure;
            if (o.status < 0) return "";  // nothing allocated on a failing baseline: the baseline case reports it
        }
        // Releasing a record (Free) allocates nothing; a walk counts only the call's own.
        for (int64_t k = 1; k <= attempts; ++k) {
            Setup s(r);
            if (std::string e = prepare(s, c, -1, seed); !e.empty()) return e;
            const int64_t a0 = zemcoreTestAllocationCount();
            Outcome o = callAndCheck(s, (r.flags & kAllocFailureIgnored) ? Expect::Pass : Expect::Fail, k);
            if (zemcoreTestAllocationCount() - a0 < k) continue;  // the call stopped asking before k
            ++childTally.allocationPoints;
            if (!o.failure.empty()) return "walk " + std::to_string(k) + "/" + std::to_string(attempts) + ": " + o.failure;
        }
        return "";
    }
    if (c.kind == Kind::Ways) {
        std::vector<std::vector<std::vector<unsigned char>>> results;
        const std::vector<int> ways = {0, 1, 2, 3, 4};
        std::ostringstream f;
        for (int way : ways) {
            int recArg = -1;
            for (int i = 0; i < static_cast<int>(r.args.size()); ++i)
                if (r.args[i].role == Role::Rec) recArg = i;
            const RecordKind& k = *r.args[recArg].kind;
            if (way == 0 && !k.alloc) continue;
            if (way > 0 && (!k.init || !k.size)) continue;
            Setup s(r);
            if (std::string e = prepare(s, c, way, seed); !e.empty()) return "way " + std::to_string(way) + ": " + e;
            Outcome o = callAndCheck(s, Expect::Pass, 0);
            if (!o.failure.empty())
                f << (way == 0 ? "InitAlloc" : "Init at offset " + std::to_string(8 * (way - 1))) << ": " << o.failure;
            std::vector<std::vector<unsigned char>> outs;
            for (auto& b : s.blocks)
                if (!b->constant && b->what.find("record") == std::string::npos)
                    outs.emplace_back(b->data, b->data + b->bytes);
            // A blank Init is compared with the other Init ways only.
            const bool comparable = !results.empty() && !((r.flags & kBlankInit) && way == 1);
            if (comparable && outs != results.back())
                f << "results differ between the previous way and "
                  << (way == 0 ? "InitAlloc" : "Init at offset " + std::to_string(8 * (way - 1))) << "; ";
            results.push_back(std::move(outs));
        }
        return f.str();
    }
    Setup s(r);
    if (std::string e = prepare(s, c, -1, seed); !e.empty()) return e;
    applyBreak(s, c);
    return callAndCheck(s, c.expect, 0).failure;
}

// ---- Child processes --------------------------------------------------------------------
struct Finding {
    std::string label;
    std::string what;
    int row = 0;  // which of the export's rows, when it has several
};

bool runKnown() {
    const char* e = std::getenv("ZEMSR_SWEEP_KNOWN");
    return e && *e && *e != '0';
}

bool isKnown(const std::string& name, const std::string& label) {
    for (const KnownFinding& k : knownFindings())
        if (name == k.exportName && label.starts_with(k.casePrefix)) return true;
    return false;
}

// Known findings are skipped unless ZEMSR_SWEEP_KNOWN is set, so that the sanitizer's
// reports in the log are the new ones.
std::vector<Finding> sweepRow(const Row& r, int& casesRun, int& skipped) {
    std::vector<Case> cs = casesOf(r);
    skipped = 0;
    if (!runKnown()) {
        std::vector<Case> keep;
        for (Case& c : cs)
            if (isKnown(r.name, c.label)) ++skipped;
            else keep.push_back(std::move(c));
        cs = std::move(keep);
    }
    const uint32_t seed = static_cast<uint32_t>(std::hash<std::string>{}(r.name));
    std::vector<Finding> found;
    size_t next = 0;
    casesRun = 0;
    while (next < cs.size()) {
        int fd[2];
        if (pipe(fd) != 0) std::abort();
        std::fflush(nullptr);
        const pid_t pid = fork();
        if (pid == 0) {
            close(fd[0]);
            FILE* out = fdopen(fd[1], "w");
            for (size_t i = next; i < cs.size(); ++i) {
                std::fprintf(out, "S %zu\n", i);
                std::fflush(out);
                std::string msg = runCase(r, cs[i], seed);
                for (char& ch : msg)
                    if (ch == '\n') ch = ' ';
                if (!msg.empty()) std::fprintf(out, "F %zu %s\n", i, msg.c_str());
                std::fprintf(out, "C %lld %lld\n", static_cast<long long>(childTally.calls),
                             static_cast<long long>(childTally.allocationPoints));
                childTally = {};
                std::fflush(out);
            }
            std::fprintf(out, "E\n");
            std::fflush(out);
            _exit(0);
        }
        close(fd[1]);
        FILE* in = fdopen(fd[0], "r");
        char line[8192];
        size_t started = next;
        bool ended = false;
        while (std::fgets(line, sizeof line, in)) {
            if (line[0] == 'S') started = std::strtoull(line + 2, nullptr, 10), ++casesRun;
            else if (line[0] == 'E') ended = true;
            else if (line[0] == 'C') {
                char* rest;
                totalTally.calls += std::strtoll(line + 2, &rest, 10);
                totalTally.allocationPoints += std::strtoll(rest, nullptr, 10);
            }
            else if (line[0] == 'F') {
                char* rest;
                const size_t i = std::strtoull(line + 2, &rest, 10);
                std::string msg = rest + 1;
                if (!msg.empty() && msg.back() == '\n') msg.pop_back();
                found.push_back({cs[i].label, msg});
            }
        }
        std::fclose(in);
        int st = 0;
        waitpid(pid, &st, 0);
        if (ended) break;
        std::ostringstream w;
        if (WIFSIGNALED(st)) w << "crashed with signal " << WTERMSIG(st);
        else w << "ended the process with exit code " << WEXITSTATUS(st);
        w << " (the sanitizer's report, if any, is above)";
        found.push_back({cs[started].label, w.str()});
        next = started + 1;
    }
    return found;
}

// ---- The test ---------------------------------------------------------------------------
const char* const kExports[] = {
#include "sweep_exports.inc"
};

struct Registry {
    Table table;
    std::multimap<std::string, const Row*> byName;
    Registry() {
        addFrameRows(table);
        addLikelihoodRows(table);
        addFrontendRows(table);
        addTrainingRows(table);
        addSequenceRows(table);
        addLpRows(table);
        addDtwRows(table);
        addLinalgRows(table);
        addRobustRows(table);
        addCodebookRows(table);
        addVqSearchRows(table);
        for (const Row& r : table.rows) byName.emplace(r.name, &r);
    }
};
const Registry& registry() {
    static const Registry r;
    return r;
}

class Export : public ::testing::TestWithParam<const char*> {};

TEST_P(Export, SurvivesHostileCalls) {
    const std::string name = GetParam();
    const auto it = registry().byName.find(name);
    if (it == registry().byName.end()) {
        for (const char* p : pendingRows())
            if (name == p)
                GTEST_SKIP() << name << " has no row yet (on the pending list in tests/sweep/findings.cpp): "
                             << "add one to tests/sweep/table_<subsystem>.cpp and remove it from the list.";
        FAIL() << name << " is declared in include/zemsr.h but the sweep has no row for it.\n"
               << "Add one to the table file of its family under tests/sweep/ (table_<subsystem>.cpp), e.g.\n"
               << "    ROW(t, " << name << ", {L(17)}, {In(L), Out(L), Len(L)});\n"
               << "giving each argument in order its role (In/Out/Rows buffers with their exact extents, Len,\n"
               << "Count, Step, Sf, Val, Alt, Fixed, Rec/NewRec/OwnRec/RecBuf for records); the comment at the\n"
               << "top of tests/sweep/table_likelihood.cpp explains each role.";
    }
    int casesRun = 0;
    const Tally before = totalTally;
    std::vector<Finding> found;
    int variant = 0, skipped = 0;
    const auto range = registry().byName.equal_range(name);
    const bool several = std::distance(range.first, range.second) > 1;
    for (auto row = range.first; row != range.second; ++row, ++variant) {
        int n = 0, k = 0;
        for (Finding& f : sweepRow(*row->second, n, k)) {
            f.row = several ? variant + 1 : 0;
            found.push_back(std::move(f));
        }
        casesRun += n;
        skipped += k;
    }
    int expected = 0;
    for (const Finding& f : found) {
        const std::string where = (f.row ? "row " + std::to_string(f.row) + ", " : std::string()) + "case \"" +
                                  f.label + "\"";
        if (isKnown(name, f.label)) {
            ++expected;
            std::printf("known finding: %s, %s: %s\n", name.c_str(), where.c_str(), f.what.c_str());
        } else {
            ADD_FAILURE() << name << ", " << where << ": " << f.what;
        }
    }
    if (runKnown())
        for (const KnownFinding& k : knownFindings()) {
            if (name != k.exportName) continue;
            bool seen = false;
            for (const Finding& f : found) seen |= f.label.starts_with(k.casePrefix);
            if (!seen)
                std::printf("note: the known finding %s \"%s\" no longer occurs: remove it from "
                            "tests/sweep/findings.cpp\n",
                            k.exportName, k.casePrefix);
        }
    RecordProperty("cases", casesRun);
    ++totalTally.exports;
    totalTally.cases += casesRun;
    std::printf("%s: %d cases, %lld calls, %lld allocation points walked, %zu findings (%d known), %d known "
                "cases skipped\n",
                name.c_str(), casesRun, static_cast<long long>(totalTally.calls - before.calls),
                static_cast<long long>(totalTally.allocationPoints - before.allocationPoints), found.size(),
                expected, skipped);
}

// The totals of the run, for the record of a full sweep.
class Totals : public ::testing::Environment {
  public:
    void TearDown() override {
        std::printf("sweep (%s mode): %lld exports, %lld cases, %lld calls, %lld allocation points walked\n",
                    fullMode() ? "full" : "quick", static_cast<long long>(totalTally.exports),
                    static_cast<long long>(totalTally.cases), static_cast<long long>(totalTally.calls),
                    static_cast<long long>(totalTally.allocationPoints));
    }
};
[[maybe_unused]] ::testing::Environment* const kTotals = ::testing::AddGlobalTestEnvironment(new Totals);

std::string nameOf(const ::testing::TestParamInfo<const char*>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Sweep, Export, ::testing::ValuesIn(kExports), nameOf);

// Rows that name no export of the header would never run: the table must not drift.
TEST(SweepTable, EveryRowNamesADeclaredExport) {
    std::set<std::string> declared(std::begin(kExports), std::end(kExports));
    for (const Row& r : registry().table.rows) {
        EXPECT_TRUE(declared.count(r.name)) << r.name << " has a row but is not declared in include/zemsr.h";
        EXPECT_EQ(r.args.size(), r.params.size()) << r.name << ": the row gives " << r.args.size()
                                                 << " roles for " << r.params.size() << " arguments";
    }
}

}  // namespace
}  // namespace sweep
