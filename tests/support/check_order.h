// Check orders from a table.  A row names an export, a valid set of arguments, the call,
// the output regions, and the ways to break the arguments listed in the export's check
// order.  expectCheckOrder then asserts, for every single break and for every pair of
// breaks applied together, that the status of the earlier break wins and that no output
// byte changed.
//
//     struct A { const float* src = buf; float* dst = out; int len = 8; };
//     zemtest::expectCheckOrder<A>("zemsFoo_32f", {},
//         [](const A& a) { return zemsFoo_32f(a.src, a.dst, a.len); },
//         {{"src", [](A& a) { a.src = nullptr; }, zemStatusNullPointer},
//          {"dst", [](A& a) { a.dst = nullptr; }, zemStatusNullPointer},
//          {"len", [](A& a) { a.len = 0; }, zemStatusBadSize}},
//         {zemtest::region(out, 8)});
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "zemsr.h"

namespace zemtest {

struct Region {
    void* p;
    size_t bytes;
};

template <class T>
inline Region region(T* p, size_t count) {
    return {static_cast<void*>(p), count * sizeof(T)};
}

template <class Args>
struct Break {
    const char* what;
    std::function<void(Args&)> apply;
    ZemStatus expect;
};

namespace detail {
inline void arm(const std::vector<Region>& outputs) {
    for (const Region& r : outputs) std::memset(r.p, 0x5a, r.bytes);
}
inline bool intact(const std::vector<Region>& outputs) {
    for (const Region& r : outputs) {
        const auto* b = static_cast<const unsigned char*>(r.p);
        for (size_t i = 0; i < r.bytes; ++i)
            if (b[i] != 0x5a) return false;
    }
    return true;
}
}  // namespace detail

// validStatus: what the unbroken call must return (zemStatusOk unless the valid
// arguments make a warning); pass a negative number other than any status to skip it.
template <class Args>
void expectCheckOrder(const char* name, const Args& valid, const std::function<ZemStatus(const Args&)>& call,
                      const std::vector<Break<Args>>& breaks, const std::vector<Region>& outputs,
                      int validStatus = zemStatusOk) {
    SCOPED_TRACE(name);
    if (validStatus > -100000) {
        Args a = valid;
        EXPECT_EQ(call(a), validStatus) << "the valid call";
    }
    for (size_t i = 0; i < breaks.size(); ++i)
        for (size_t j = i; j < breaks.size(); ++j) {
            Args a = valid;
            breaks[i].apply(a);
            if (j != i) breaks[j].apply(a);
            detail::arm(outputs);
            const ZemStatus s = call(a);
            const std::string pair = std::string(breaks[i].what) + (j != i ? std::string(" + ") + breaks[j].what : "");
            EXPECT_EQ(s, breaks[i].expect) << pair;
            EXPECT_TRUE(detail::intact(outputs)) << pair << ": an output changed";
        }
}

inline constexpr int kSkipValidCall = -1000000;

}  // namespace zemtest
