// The sweep: every export called as a hostile caller would call it.
//
// A row per export says what each argument is (its role) and how large each buffer is;
// the engine in sweep_engine.cpp derives the calls from that: a valid baseline, every
// pointer null in turn, bad sizes and strides, extreme scale factors and values, NaN and
// infinities in the inputs, and every allocation failed in turn.  Buffers are allocated
// to their exact extent (a zero extent lies on an inaccessible page), every buffer is
// compared around the call, and the core's live blocks are counted.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "zemcore.h"
#include "zemsr.h"

namespace sweep {

// ---- Dimensions and extents ------------------------------------------------------------
// A row fixes a few named dimensions; extents and argument values are expressions in them.
enum DimId { kL, kW, kH, kS, kN, kM, kK, kDimCount };
using Dims = std::array<int64_t, kDimCount>;

struct Ex {
    std::function<int64_t(const Dims&)> f;
    Ex(int64_t v) : f([v](const Dims&) { return v; }) {}  // NOLINT: constants read as extents
    Ex(int v) : Ex(static_cast<int64_t>(v)) {}            // NOLINT
    explicit Ex(std::function<int64_t(const Dims&)> g) : f(std::move(g)) {}
    int64_t operator()(const Dims& d) const { return f(d); }
};
inline Ex operator+(Ex a, Ex b) { return Ex([a, b](const Dims& d) { return a(d) + b(d); }); }
inline Ex operator-(Ex a, Ex b) { return Ex([a, b](const Dims& d) { return a(d) - b(d); }); }
inline Ex operator*(Ex a, Ex b) { return Ex([a, b](const Dims& d) { return a(d) * b(d); }); }
inline Ex operator/(Ex a, Ex b) { return Ex([a, b](const Dims& d) { return a(d) / b(d); }); }

struct Bind {
    DimId id;
    int64_t v;
};
struct Dim {
    DimId id;
    operator Ex() const {  // NOLINT
        const DimId i = id;
        return Ex([i](const Dims& d) { return d[i]; });
    }
    Bind operator()(int64_t v) const { return {id, v}; }
};
inline constexpr Dim L{kL}, W{kW}, H{kH}, S{kS}, N{kN}, M{kM}, K{kK};
inline Ex operator+(Dim a, Ex b) { return Ex(a) + b; }
inline Ex operator-(Dim a, Ex b) { return Ex(a) - b; }
inline Ex operator*(Dim a, Ex b) { return Ex(a) * b; }
inline Ex operator/(Dim a, Ex b) { return Ex(a) / b; }
inline Ex operator+(Dim a, Dim b) { return Ex(a) + Ex(b); }
inline Ex operator*(Dim a, Dim b) { return Ex(a) * Ex(b); }
// The elements that a _D2 matrix of h rows of w elements, step apart, spans.
inline Ex D2(Ex h, Ex step, Ex w) { return (h - 1) * step + w; }
inline Ex Bytes8(Ex bits) { return (bits + 7) / 8; }

// ---- Records ----------------------------------------------------------------------------
// One kind of state record and the ways the header offers to build it.  Consumers take
// the record through Rec(kind); the engine builds it in every way and compares results.
struct RecordKind {
    const char* name;
    std::function<int64_t()> size;                 // GetSize of the sweep's record; empty when none
    std::function<ZemStatus(void* buffer)> init;   // Init in the caller's buffer; empty when none
    std::function<ZemStatus(void** out)> alloc;    // InitAlloc; empty when none
    std::function<ZemStatus(void* rec)> release;  // Free; empty when the kind has none
};

// ---- Roles -------------------------------------------------------------------------------
enum class Role {
    Buf,      // a buffer of `extent` elements (input, output or both: the pointer type says)
    OutBuf,   // an output buffer: filled with a sentinel rather than data
    Rows,     // an array of `extent` row pointers, each row `rowLen` elements
    Len,      // a size that sizes caller buffers: below `minValid` must fail
    Count,    // a size that sizes nothing of the caller's: every value must be safe
    Step,     // a row stride: below `minValid` (the width) must fail
    Sf,       // a scale factor: every value must be safe
    Val,      // a value: its type's extremes must be safe
    Alt,      // a value broken only to the listed alternatives
    Fixed,    // a value never broken
    Rec,      // a record built by the kind's default way
    NewRec,   // the out pointer of an InitAlloc
    OwnRec,   // a record handed over (Free): a fresh allocated record each call
    RecBuf,   // a caller's buffer of `extent` bytes for an Init
    Recs,     // an array of `extent` record pointers, record j of kinds[j % kinds.size()]
};

using Fill = std::function<double(int64_t i)>;

struct Arg {
    Role role = Role::Buf;
    Ex extent{0};
    Ex rowLen{0};
    Ex value{0};
    Ex minValid{1};
    double fvalue = 0;
    bool isFloatValue = false;
    double lo = 0, hi = 0;  // data range; lo == hi means the type's default
    Fill fill;              // exact contents, when the range is not enough
    std::vector<double> alts;
    const RecordKind* kind = nullptr;
    std::vector<const RecordKind*> kinds;  // Recs: the kinds of the records, in turn
    bool nullable = false;  // null is accepted here
    bool noExtremes = false;
    bool maxSafe = false;   // a Len whose INT_MAX must also be safe
    Ex before{0};           // elements of the buffer that lie before the pointer (history)
};

inline Arg role(Role r, Ex extent = 0) {
    Arg a;
    a.role = r;
    a.extent = std::move(extent);
    return a;
}

// Buffers.
inline Arg In(Ex n) { return role(Role::Buf, n); }
inline Arg In(Ex n, double lo, double hi) {
    Arg a = role(Role::Buf, n);
    a.lo = lo, a.hi = hi;
    return a;
}
inline Arg In(Ex n, Fill f) {
    Arg a = role(Role::Buf, n);
    a.fill = std::move(f);
    return a;
}
// A buffer of n elements whose pointer stands `before` elements into it: the history that
// a stream reads before index 0.
inline Arg InMid(Ex before, Ex n) {
    Arg a = role(Role::Buf, n);
    a.before = std::move(before);
    return a;
}
inline Arg Out(Ex n) { return role(Role::OutBuf, n); }
inline Arg Rows(Ex h, Ex w, double lo = 0, double hi = 0) {
    Arg a = role(Role::Rows, h);
    a.rowLen = w, a.lo = lo, a.hi = hi;
    return a;
}
// Sizes, strides, scale factors and values.
inline Arg Len(Ex v, Ex minValid = 1) {
    Arg a = role(Role::Len);
    a.value = v, a.minValid = minValid;
    return a;
}
// A size that must be at least minValid and that no value can push out of bounds (it is
// checked against other arguments, or sizes nothing that the call touches).
inline Arg Size(Ex v, Ex minValid = 1) {
    Arg a = Len(std::move(v), std::move(minValid));
    a.maxSafe = true;
    return a;
}
inline Arg Count(Ex v) {
    Arg a = role(Role::Count);
    a.value = v;
    return a;
}
inline Arg Step(Ex v, Ex width) {
    Arg a = role(Role::Step);
    a.value = v, a.minValid = width;
    return a;
}
inline Arg Sf(int v = 0) {
    Arg a = role(Role::Sf);
    a.value = v;
    return a;
}
inline Arg Val(double v) {
    Arg a = role(Role::Val);
    a.fvalue = v, a.isFloatValue = true;
    return a;
}
inline Arg Alt(double v, std::initializer_list<double> alts) {
    Arg a = role(Role::Alt);
    a.fvalue = v, a.isFloatValue = true, a.alts = alts;
    return a;
}
inline Arg Fixed(double v) {
    Arg a = role(Role::Fixed);
    a.fvalue = v, a.isFloatValue = true;
    return a;
}
inline Arg FixedEx(Ex v) {
    Arg a = role(Role::Fixed);
    a.value = std::move(v);
    return a;
}
// Records.
inline Arg Rec(const RecordKind& k) {
    Arg a = role(Role::Rec);
    a.kind = &k;
    return a;
}
inline Arg NewRec(const RecordKind& k) {
    Arg a = role(Role::NewRec, 1);
    a.kind = &k;
    return a;
}
inline Arg OwnRec(const RecordKind& k) {
    Arg a = role(Role::OwnRec);
    a.kind = &k;
    return a;
}
inline Arg RecBuf(Ex bytes) { return role(Role::RecBuf, bytes); }
inline Arg Recs(Ex count, std::vector<const RecordKind*> kinds) {
    Arg a = role(Role::Recs, std::move(count));
    a.kinds = std::move(kinds);
    return a;
}
// Modifiers.
inline Arg nullable(Arg a) {
    a.nullable = true;
    return a;
}
inline Arg noExtremes(Arg a) {
    a.noExtremes = true;
    return a;
}

// ---- Parameter types, read from the export's signature --------------------------------
enum class Elem { None, U8, S8, S16, U16, S32, S64, F32, F64, Ptr, Opaque };

struct Param {
    bool pointer = false;
    bool constPointee = false;
    Elem elem = Elem::None;   // what a pointer points at, or the scalar's type
    Elem inner = Elem::None;  // for a pointer to row pointers: the rows' elements
    bool innerConst = false;
    size_t elemSize = 0;
    size_t innerSize = 0;
};

template <class T, class = void>
struct Complete : std::false_type {};
template <class T>
struct Complete<T, std::void_t<decltype(sizeof(T))>> : std::true_type {};

template <class T>
constexpr Elem elemOf() {
    using U = std::remove_cv_t<T>;
    if constexpr (std::is_pointer_v<U>) return Elem::Ptr;
    else if constexpr (!Complete<U>::value || std::is_class_v<U>) return Elem::Opaque;
    else if constexpr (std::is_same_v<U, float>) return Elem::F32;
    else if constexpr (std::is_same_v<U, double>) return Elem::F64;
    else if constexpr (std::is_same_v<U, uint8_t>) return Elem::U8;
    else if constexpr (std::is_same_v<U, int8_t>) return Elem::S8;
    else if constexpr (std::is_same_v<U, int16_t>) return Elem::S16;
    else if constexpr (std::is_same_v<U, uint16_t>) return Elem::U16;
    else if constexpr (std::is_same_v<U, int64_t>) return Elem::S64;
    else return Elem::S32;
}

template <class T>
constexpr size_t sizeOrZero() {
    if constexpr (Complete<std::remove_cv_t<T>>::value) return sizeof(T);
    else return 0;
}

template <class T>
Param paramOf() {
    Param p;
    if constexpr (std::is_pointer_v<T>) {
        using P = std::remove_pointer_t<T>;
        p.pointer = true;
        p.constPointee = std::is_const_v<P>;
        p.elem = elemOf<P>();
        p.elemSize = sizeOrZero<P>();
        if constexpr (std::is_pointer_v<std::remove_cv_t<P>>) {
            using Q = std::remove_pointer_t<std::remove_cv_t<P>>;
            p.inner = elemOf<Q>();
            p.innerConst = std::is_const_v<Q>;
            p.innerSize = sizeOrZero<Q>();
        }
    } else {
        p.elem = elemOf<T>();
        p.elemSize = sizeof(T);
    }
    return p;
}

// One argument as the engine holds it before the call converts it to its C type.
struct Slot {
    void* p = nullptr;
    int64_t i = 0;
    double f = 0;
};

template <class T>
T fromSlot(const Slot& s) {
    if constexpr (std::is_pointer_v<T>) return static_cast<T>(s.p);
    else if constexpr (std::is_floating_point_v<T>) return static_cast<T>(s.f);
    else return static_cast<T>(s.i);
}

using Invoke = std::function<int(const std::vector<Slot>&)>;

template <class R, class... A, size_t... I>
int invokeWith(R (*fn)(A...), const std::vector<Slot>& s, std::index_sequence<I...>) {
    if constexpr (std::is_pointer_v<R>) return fn(fromSlot<A>(s[I])...) ? 0 : -1;
    else return static_cast<int>(fn(fromSlot<A>(s[I])...));
}

// Flags of a row.
enum RowFlag : unsigned {
    kPartialStores = 1,  // a negative status may come with results stored (documented)
    kNoMisalign = 2,     // the misaligned baseline does not apply
    kAllocFailureIgnored = 4,  // a failed allocation is documented to be absorbed (the call succeeds)
    kAllocFailureAnyError = 8, // a failed allocation may answer another documented error
    kBlankInit = 16,           // the record's Init leaves its contents to the caller: Init and InitAlloc differ
};

struct Row {
    std::string name;
    std::vector<Param> params;
    std::vector<Arg> args;
    Dims dims{};
    Invoke call;
    unsigned flags = 0;
    int expectBaseline = 0;  // the status the baseline must give (0: any non-negative)
};

struct Table {
    std::vector<Row> rows;
    std::string family;

    // row(&zemsFoo_32f, "zemsFoo_32f", {L(17)}, {In(L), Out(L), Len(L)})
    template <class R, class... A>
    Row& add(R (*fn)(A...), const char* name, std::initializer_list<Bind> dims, std::vector<Arg> args,
             unsigned flags = 0) {
        Row r;
        r.name = name;
        r.params = {paramOf<A>()...};
        r.args = std::move(args);
        for (const Bind& b : dims) r.dims[b.id] = b.v;
        r.call = [fn](const std::vector<Slot>& s) { return invokeWith(fn, s, std::index_sequence_for<A...>{}); };
        r.flags = flags;
        rows.push_back(std::move(r));
        return rows.back();
    }
};

// Names the function once: ROW(t, zemsFoo_32f, {L(17)}, {In(L), Out(L), Len(L)}).
#define ROW(table, fn, ...) (table).add(&fn, #fn, __VA_ARGS__)

// Each family's rows; declared here, defined in the table files.
void addLikelihoodRows(Table& t);
void addFrontendRows(Table& t);
void addFrameRows(Table& t);
void addTrainingRows(Table& t);
void addSequenceRows(Table& t);
void addLpRows(Table& t);
void addRobustRows(Table& t);
void addDtwRows(Table& t);
void addCodebookRows(Table& t);
void addVqSearchRows(Table& t);
void addLinalgRows(Table& t);

// Exports without a row yet, skipped with a message (findings.cpp).
const std::vector<const char*>& pendingRows();

// A finding that the sweep knows about and that is being fixed elsewhere.
struct KnownFinding {
    const char* exportName;
    const char* casePrefix;  // the case label starts with this
    const char* what;
};
const std::vector<KnownFinding>& knownFindings();

}  // namespace sweep
