// Argument checks.  An export's checks are one expression that reads as its order:
//
//     if (const ZemStatus s = firstFailure(strideCovers(step, width),
//                                          nonNull(src, mean, var, dst),
//                                          atLeastOne(width, height)))
//         return s;
//
// Each check is a small object that only records its arguments; firstFailure runs them
// left to right and returns the status of the first that fails, or zemStatusOk.  A later
// check never runs once an earlier one has failed, so a row scan may follow the test
// that its array pointer is not null.  Nothing here touches the caller's outputs.
#pragma once

#include <cstdint>
#include <type_traits>

#include "zemsr.h"

namespace zem {

namespace detail {
template <class F>
struct Check {
    F run;  // returns zemStatusOk when the check passes
    ZemStatus operator()() const { return run(); }
};
template <class F>
Check(F) -> Check<F>;
}  // namespace detail

// Runs the checks in order; the earliest failure wins.
template <class... C>
inline ZemStatus firstFailure(const C&... checks) {
    ZemStatus s = zemStatusOk;
    (void)(((s = checks()) == zemStatusOk) && ...);
    return s;
}

// ---- Pointers --------------------------------------------------------------------------

template <class... P>
inline bool anyNull(const P*... p) {
    return ((p == nullptr) || ...);
}

// Every pointer is set (zemStatusNullPointer).
template <class... P>
inline auto nonNull(const P*... p) {
    return detail::Check{[=] { return anyNull(p...) ? zemStatusNullPointer : zemStatusOk; }};
}

// True when any of the first count pointers of an array of row pointers is null.
template <class P>
inline bool anyNullRow(P* const* rows, int64_t count) {
    for (int64_t r = 0; r < count; ++r)
        if (!rows[r]) return true;
    return false;
}

// The first count row pointers of a _D2L matrix are set (zemStatusNullPointer).  The
// array itself must have passed nonNull earlier in the list.
template <class P>
inline auto noNullRows(P* const* rows, int64_t count) {
    return detail::Check{[=] { return anyNullRow(rows, count) ? zemStatusNullPointer : zemStatusOk; }};
}

// ---- Sizes and strides -----------------------------------------------------------------

// Every count is 1 or more (zemStatusBadSize).
template <class... N>
inline auto atLeastOne(N... n) {
    static_assert((std::is_integral_v<N> && ...));
    return detail::Check{[=] { return ((n < 1) || ...) ? zemStatusBadSize : zemStatusOk; }};
}

// A _D2 stride covers the row width (zemStatusBadStride).
inline auto strideCovers(int step, int width) {
    return detail::Check{[=] { return step < width ? zemStatusBadStride : zemStatusOk; }};
}

// lo <= v <= hi, compared in 64 bits, else the given status.
inline auto within(int64_t v, int64_t lo, int64_t hi, ZemStatus fail) {
    return detail::Check{[=] { return v < lo || v > hi ? fail : zemStatusOk; }};
}

// ---- Anything else ---------------------------------------------------------------------

// A condition computed before the list runs: fails with `fail` when ok is false.  Use it
// for tests that read no memory the earlier checks guard.
inline auto ensure(bool ok, ZemStatus fail) {
    return detail::Check{[=] { return ok ? zemStatusOk : fail; }};
}

// A condition computed only when its turn comes, for tests that read through pointers
// or walk arrays: fails with `fail` when pred() is false.
template <class Pred>
    requires std::is_invocable_r_v<bool, Pred>
inline auto ensure(Pred pred, ZemStatus fail) {
    return detail::Check{[=] { return pred() ? zemStatusOk : fail; }};
}

// A family's own compound check, returning a status itself, run in its turn.
template <class F>
    requires std::is_invocable_r_v<ZemStatus, F>
inline auto checkedBy(F f) {
    return detail::Check{f};
}

}  // namespace zem
