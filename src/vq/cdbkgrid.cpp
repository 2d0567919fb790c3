// The cell index of a list codebook of width 1 or 2.
//
// The range of the codewords is cut into equal cells; each cell keeps the list of the
// codewords that can be nearest to a point inside it, and a ring of outer slots serves
// points outside the cells.  The number of cells grows while the mean list length falls
// by more than 5% a step, and the index is kept only when that length is about a fifth
// (width 1) or a tenth (width 2) of the codebook or less.  All bound and cell arithmetic
// is Zem32f; 16-bit codewords are converted first.
#include <cstring>
#include <initializer_list>
#include <utility>

#include "vq/cdbkbuild.h"

namespace zem::vq {
namespace {

template <class T>
constexpr bool kIs16s = std::is_same_v<T, Zem16s>;

constexpr int64_t kStackVectors = 1024;

// Bounds of one dimension with minimum m and maximum M.
void bounds(Zem32f m, Zem32f M, Zem32f* lo, Zem32f* hi) {
    if (m > 0.0f) {
        *lo = 0.9f * m;
        *hi = 1.1f * M;
    } else {
        *lo = 1.1f * m;
        *hi = M > 0.0f ? 1.1f * M : 0.9f * M;
    }
}

void minMax(const Zem32f* v, int n, Zem32f* m, Zem32f* M) {
    *m = v[0];
    *M = v[0];
    for (int i = 1; i < n; ++i) {
        *m = v[i] < *m ? v[i] : *m;
        *M = v[i] > *M ? v[i] : *M;
    }
}

// Cell of a value t = (x - lo) / cellWidth, limited to `past` (any number >= the cells);
// -1 at or below -1 and for NaN, which the callers treat as below every cell.
int64_t cellOf(double t, int64_t past) {
    if (!(t > -1.0)) return -1;
    if (t >= static_cast<double>(past)) return past;
    return static_cast<int64_t>(t);
}

Zem32s* newList(int64_t count) { return newBlock<Zem32s>(count > 0 ? count : 1); }

// The empty list and count arrays of a grid; the lists are cleared before anything else
// can fail, so that a release walks only what was made.
bool allocateSlots(Zem32s*** lists, Zem32s** counts, int64_t slots) {
    *lists = newBlock<Zem32s*>(slots);
    if (!*lists) return false;
    std::memset(*lists, 0, sizeof(Zem32s*) * static_cast<size_t>(slots));
    *counts = newBlock<Zem32s>(slots);
    if (!*counts) return false;
    std::memset(*counts, 0, sizeof(Zem32s) * static_cast<size_t>(slots));
    return true;
}

// ---- One dimension -----------------------------------------------------------------------

struct Line {
    const Zem32f* v;  // the codewords as Zem32f
    int n;
    Zem32f m, M, lo, hi;
};

// Mean list length of b cells, or ZEM_MAX_32F when a cell stays empty.
Zem32f lineCost(const Line& g, int b, unsigned char* marks) {
    const Zem32f range = std::fabs(g.M - g.m);
    if (range < 1e-5f) return ZEM_MAX_32F;
    const Zem32f cw = 1.1f * range / static_cast<Zem32f>(b);
    std::memset(marks, 0, static_cast<size_t>(g.n));
    const int64_t limit = b < g.n ? b : g.n;  // marks past either end are not kept
    for (int i = 0; i < g.n; ++i) {
        const int64_t cell = cellOf((g.v[i] - g.lo) / cw, limit);
        if (cell >= 0 && cell < limit) marks[cell] = 1;
    }
    for (int e = 0; e < b; ++e)
        if (e >= g.n || !marks[e]) return ZEM_MAX_32F;
    return 2.0f * static_cast<Zem32f>(g.n) / static_cast<Zem32f>(b);
}

template <class T>
ZemStatus buildLine(State<T>* st, const Line& g) {
    Scratch<unsigned char, 4096> marks(g.n);
    if (!marks.ok()) return zemStatusNoMemory;
    int b = 4;
    Zem32f cost = lineCost(g, b, marks.data());
    for (;;) {
        const Zem32f next = lineCost(g, b + 1, marks.data());
        if (!(static_cast<double>(cost) - next > 0.05 * static_cast<double>(cost))) break;
        ++b;
        cost = next;
    }
    const Zem32f fifth = static_cast<Zem32f>(g.n) / 5.0f;
    if (!cdbkBetter(fifth, cost) && !cdbkNear(cost, fifth)) return zemStatusOk;

    Scratch<int64_t, kStackVectors> cells(g.n);
    if (!cells.ok()) return zemStatusNoMemory;
    ZemsCdbkGrid1* grid = newBlock<ZemsCdbkGrid1>(1);
    if (!grid) return zemStatusNoMemory;
    std::memset(static_cast<void*>(grid), 0, sizeof(*grid));
    grid->bins = b;
    grid->cellWidth = 1.1f * std::fabs(g.M - g.m) / static_cast<Zem32f>(b);
    grid->lo = g.lo;
    grid->hi = g.hi;
    if (!allocateSlots(&grid->lists, &grid->counts, b + 2)) {
        releaseGrid(grid, 1);
        return zemStatusNoMemory;
    }

    const Zem32f cw = grid->cellWidth, lo = grid->lo;
    for (int i = 0; i < g.n; ++i) {
        // The 16-bit form lifts a value on a cell edge into the upper cell, as its searches do.
        const double t = kIs16s<T> ? (static_cast<double>(g.v[i]) - lo) / cw + 0.001
                                   : static_cast<double>((g.v[i] - lo) / cw);
        cells[i] = t < 0.0 ? -1 : cellOf(t, b);
    }
    for (int e = 0; e < b; ++e) {
        int64_t members = 0;
        int below = -1, above = -1;
        Zem32f bestBelow = 0.0f, bestAbove = 0.0f;
        const Zem32f lowEdge = cw * static_cast<Zem32f>(e), highEdge = cw * static_cast<Zem32f>(e + 1);
        for (int i = 0; i < g.n; ++i) {
            if (cells[i] == e) {
                ++members;
            } else if (cells[i] < e) {
                const Zem32f d = std::fabs(g.v[i] - lo - lowEdge);
                if (below < 0 || d < bestBelow) below = i, bestBelow = d;
            } else {
                const Zem32f d = std::fabs(g.v[i] - lo - highEdge);
                if (above < 0 || d < bestAbove) above = i, bestAbove = d;
            }
        }
        if (e == 0) below = -1;
        if (e == b - 1) above = -1;
        const int64_t len = members + (below >= 0) + (above >= 0);
        Zem32s* list = newList(len);
        if (!list) {
            releaseGrid(grid, 1);
            return zemStatusNoMemory;
        }
        grid->lists[e + 1] = list;
        grid->counts[e + 1] = static_cast<Zem32s>(len);
        int64_t k = 0;
        for (int i = 0; i < g.n; ++i)
            if (cells[i] == e) list[k++] = i;
        if (below >= 0) list[k++] = below;
        if (above >= 0) list[k++] = above;
    }
    // The outer slots copy the lists of the first and the last cell.
    for (const auto& [slot, from] : {std::pair{0, 1}, std::pair{b + 1, b}}) {
        const Zem32s len = grid->counts[from];
        Zem32s* list = newList(len);
        if (!list) {
            releaseGrid(grid, 1);
            return zemStatusNoMemory;
        }
        std::memcpy(list, grid->lists[from], sizeof(Zem32s) * static_cast<size_t>(len));
        grid->lists[slot] = list;
        grid->counts[slot] = len;
    }
    st->grid = grid;
    st->flags |= kFlagCellIndex;
    return zemStatusOk;
}

// ---- Two dimensions ----------------------------------------------------------------------

struct Plane {
    const Zem32f* x;  // dimension 0 of each codeword
    const Zem32f* y;  // dimension 1
    int n;
    Zem32f wx, wy;
    Zem32f m0, M0, m1, M1;
    Zem32f lo0, hi0, lo1, hi1;
};

struct Cells {
    int rows, cols;
    Zem32f w0, w1;
};

Cells cellsOf(const Plane& p, int rows, int cols) {
    return {rows, cols, 1.1f * (p.M0 - p.m0) / static_cast<Zem32f>(cols),
            1.1f * (p.M1 - p.m1) / static_cast<Zem32f>(rows)};
}

// The codewords that can be nearest to a point of cell (i, j): those whose nearest point
// of the cell's border is no farther than the least farthest point of any codeword.  A
// codeword inside the cell is measured from the border too.  Writes their numbers in
// ascending order to out when given; returns how many.
int64_t candidates(const Plane& p, const Cells& c, int i, int j, Zem32f* near, Zem32s* out) {
    const Zem32f xl = p.lo0 + static_cast<Zem32f>(j) * c.w0, xr = p.lo0 + static_cast<Zem32f>(j + 1) * c.w0;
    const Zem32f yt = p.hi1 - static_cast<Zem32f>(i) * c.w1, yb = p.hi1 - static_cast<Zem32f>(i + 1) * c.w1;
    Zem32f limit = ZEM_MAX_32F;
    for (int v = 0; v < p.n; ++v) {
        const Zem32f x = p.x[v], y = p.y[v];
        Zem32f lo = ZEM_MAX_32F, hi = 0.0f;
        auto take = [&](Zem32f px, Zem32f py) {
            const Zem32f dx = x - px, dy = y - py;
            Zem32f d = 0.0f;
            d += p.wx * (dx * dx);
            d += p.wy * (dy * dy);
            if (cdbkBetter(lo, d)) lo = d;
            if (cdbkBetter(d, hi)) hi = d;
        };
        take(xl, yt);
        take(xr, yt);
        take(xl, yb);
        take(xr, yb);
        if (x >= xl && x <= xr) {
            take(x, yt);
            take(x, yb);
        }
        if (y >= yb && y <= yt) {
            take(xl, y);
            take(xr, y);
        }
        near[v] = lo;
        if (cdbkBetter(limit, hi)) limit = hi;
    }
    int64_t count = 0;
    for (int v = 0; v < p.n; ++v)
        if (cdbkBetter(limit, near[v]) || cdbkNear(near[v], limit)) {
            if (out) out[count] = v;
            ++count;
        }
    return count;
}

// Mean list length of a rows-by-cols grid.
Zem32f planeCost(const Plane& p, int rows, int cols, Zem32f* near) {
    if (cdbkNear(p.M0, p.m0) || cdbkNear(p.M1, p.m1)) return ZEM_MAX_32F;
    const Cells c = cellsOf(p, rows, cols);
    int64_t total = 0;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) total += candidates(p, c, i, j, near, nullptr);
    return static_cast<Zem32f>(static_cast<double>(total) / (static_cast<double>(rows) * cols));
}

// Union of the lists of the given slots, ascending and without repeats.
Zem32s* unionOf(const ZemsCdbkGrid2* g, const int* slots, int count, int n, unsigned char* marks, Zem32s* len) {
    std::memset(marks, 0, static_cast<size_t>(n));
    for (int s = 0; s < count; ++s)
        for (Zem32s k = 0; k < g->counts[slots[s]]; ++k) marks[g->lists[slots[s]][k]] = 1;
    int64_t total = 0;
    for (int v = 0; v < n; ++v) total += marks[v];
    Zem32s* list = newList(total);
    if (!list) return nullptr;
    int64_t k = 0;
    for (int v = 0; v < n; ++v)
        if (marks[v]) list[k++] = v;
    *len = static_cast<Zem32s>(total);
    return list;
}

template <class T>
ZemStatus buildPlane(State<T>* st, const Plane& p) {
    Scratch<Zem32f, kStackVectors> near(p.n);
    if (!near.ok()) return zemStatusNoMemory;
    int rows = 4, cols = 4;
    Zem32f q = planeCost(p, rows, cols, near.data());
    for (;;) {
        const Zem32f a = planeCost(p, rows + 1, cols, near.data());
        const Zem32f b = planeCost(p, rows, cols + 1, near.data());
        // Ties go to the column.
        const bool column = !cdbkBetter(b, a);
        const Zem32f next = column ? b : a;
        if (!(static_cast<double>(q) - next > 0.05 * static_cast<double>(q))) break;
        (column ? cols : rows) += 1;
        q = next;
    }
    const Zem32f tenth = static_cast<Zem32f>(p.n) / 10.0f;
    if (!cdbkBetter(tenth, q) && !cdbkNear(q, tenth)) return zemStatusOk;

    Scratch<unsigned char, 4096> marks(p.n);
    if (!marks.ok()) return zemStatusNoMemory;
    const Cells c = cellsOf(p, rows, cols);
    const int span = cols + 2;
    const int64_t slots = int64_t{rows + 2} * span;
    ZemsCdbkGrid2* grid = newBlock<ZemsCdbkGrid2>(1);
    if (!grid) return zemStatusNoMemory;
    std::memset(static_cast<void*>(grid), 0, sizeof(*grid));
    grid->cols = cols;
    grid->rows = rows;
    grid->cellWidth0 = c.w0;
    grid->cellWidth1 = c.w1;
    grid->lo0 = p.lo0;
    grid->hi1 = p.hi1;
    grid->hi0 = p.hi0;
    grid->lo1 = p.lo1;
    if (!allocateSlots(&grid->lists, &grid->counts, slots)) {
        releaseGrid(grid, 2);
        return zemStatusNoMemory;
    }
    auto slot = [span](int r, int col) { return r * span + col; };

    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            const int64_t len = candidates(p, c, i, j, near.data(), nullptr);
            Zem32s* list = newList(len);
            if (!list) {
                releaseGrid(grid, 2);
                return zemStatusNoMemory;
            }
            grid->lists[slot(i + 1, j + 1)] = list;
            grid->counts[slot(i + 1, j + 1)] = static_cast<Zem32s>(len);
            candidates(p, c, i, j, near.data(), list);
        }

    // The outer ring: each corner joins its row and column, each side is one list that
    // all slots of the side share.
    auto innerRow = [&](int i, int* out) {
        for (int j = 0; j < cols; ++j) out[j] = slot(i + 1, j + 1);
        return cols;
    };
    auto innerCol = [&](int j, int* out) {
        for (int i = 0; i < rows; ++i) out[i] = slot(i + 1, j + 1);
        return rows;
    };
    Scratch<int, 256> pick(int64_t{rows} + cols);
    if (!pick.ok()) {
        releaseGrid(grid, 2);
        return zemStatusNoMemory;
    }
    struct Corner {
        int slot, row, col;
    };
    const Corner corners[4] = {{slot(0, 0), 0, 0},
                               {slot(0, cols + 1), 0, cols - 1},
                               {slot(rows + 1, 0), rows - 1, 0},
                               {slot(rows + 1, cols + 1), rows - 1, cols - 1}};
    for (const Corner& k : corners) {
        int used = innerCol(k.col, pick.data());
        used += innerRow(k.row, pick.data() + used);
        Zem32s len = 0;
        Zem32s* list = unionOf(grid, pick.data(), used, p.n, marks.data(), &len);
        if (!list) {
            releaseGrid(grid, 2);
            return zemStatusNoMemory;
        }
        grid->lists[k.slot] = list;
        grid->counts[k.slot] = len;
    }
    // Top, bottom, left, right.
    for (int side = 0; side < 4; ++side) {
        const int used = side < 2 ? innerRow(side == 0 ? 0 : rows - 1, pick.data())
                                  : innerCol(side == 2 ? 0 : cols - 1, pick.data());
        Zem32s len = 0;
        Zem32s* list = unionOf(grid, pick.data(), used, p.n, marks.data(), &len);
        if (!list) {
            releaseGrid(grid, 2);
            return zemStatusNoMemory;
        }
        const int along = side < 2 ? cols : rows;
        for (int k = 0; k < along; ++k) {
            const int s = side == 0   ? slot(0, k + 1)
                          : side == 1 ? slot(rows + 1, k + 1)
                          : side == 2 ? slot(k + 1, 0)
                                      : slot(k + 1, cols + 1);
            grid->lists[s] = list;
            grid->counts[s] = len;
        }
    }
    st->grid = grid;
    st->flags |= kFlagCellIndex;
    return zemStatusOk;
}

}  // namespace

template <class T>
ZemStatus buildCellIndex(State<T>* st) {
    const int n = st->numCodewords, width = st->width;
    Scratch<Zem32f, 2048> v(int64_t{n} * width);
    if (!v.ok()) return zemStatusNoMemory;
    // Dimension d of codeword i at v[d * n + i].
    for (int i = 0; i < n; ++i)
        for (int d = 0; d < width; ++d)
            v[int64_t{d} * n + i] = static_cast<Zem32f>(st->rows[static_cast<int64_t>(i) * st->rowStep + d]);
    if (width == 1) {
        Line g{v.data(), n, 0, 0, 0, 0};
        minMax(g.v, n, &g.m, &g.M);
        bounds(g.m, g.M, &g.lo, &g.hi);
        return buildLine(st, g);
    }
    Plane p{};
    p.x = v.data();
    p.y = v.data() + n;
    p.n = n;
    p.wx = static_cast<Zem32f>(st->weights[0]);
    p.wy = static_cast<Zem32f>(st->weights[1]);
    minMax(p.x, n, &p.m0, &p.M0);
    minMax(p.y, n, &p.m1, &p.M1);
    bounds(p.m0, p.M0, &p.lo0, &p.hi0);
    bounds(p.m1, p.M1, &p.lo1, &p.hi1);
    return buildPlane(st, p);
}

void releaseGrid(void* grid, int width) {
    if (!grid) return;
    if (width == 1) {
        auto* g = static_cast<ZemsCdbkGrid1*>(grid);
        if (g->lists)
            for (int s = 0; s < g->bins + 2; ++s) freeBlock(g->lists[s]);
        freeBlock(g->lists);
        freeBlock(g->counts);
    } else {
        auto* g = static_cast<ZemsCdbkGrid2*>(grid);
        if (g->lists) {
            const int span = g->cols + 2;
            for (int r = 0; r < g->rows + 2; ++r)
                for (int c = 0; c < span; ++c) {
                    const bool outerRow = r == 0 || r == g->rows + 1, outerCol = c == 0 || c == g->cols + 1;
                    // A side's slots share one list: it goes with the side's first slot.
                    const bool sharedLater = (outerRow && !outerCol && c != 1) || (outerCol && !outerRow && r != 1);
                    if (!sharedLater) freeBlock(g->lists[r * span + c]);
                }
        }
        freeBlock(g->lists);
        freeBlock(g->counts);
    }
    freeBlock(grid);
}

template ZemStatus buildCellIndex<Zem16s>(State<Zem16s>*);
template ZemStatus buildCellIndex<Zem32f>(State<Zem32f>*);

}  // namespace zem::vq
