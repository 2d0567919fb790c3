// Zem64f row and column operations: the exported forms of the loops in columnops.h.
// The column forms address rows firstRow to height - 1 of an array of row pointers.
#include "frame/check.h"
#include "linalg/columnops.h"
#include "zemsr.h"

namespace lin = zem::linalg;

namespace {

// firstRow (zemStatusBadSize), then the row pointers that the call reads
// (zemStatusNullPointer): the scan needs a valid range, so it follows the size checks.
template <class T>
auto columnRange(T* const* matrix, int height, int firstRow) {
    return zem::checkedBy([=] {
        if (firstRow < 0 || firstRow >= height) return zemStatusBadSize;
        return zem::anyNullRow(matrix + firstRow, int64_t{height} - firstRow) ? zemStatusNullPointer : zemStatusOk;
    });
}

inline auto columnIn(int column, int width) { return zem::within(column, 0, int64_t{width} - 1, zemStatusBadSize); }

}  // namespace

extern "C" {

ZEMSR_API ZemStatus zemsSumColumnAbs_64f_D2L(const Zem64f* const* matrix, int width, int height, Zem64f* sum,
                                             int column, int firstRow) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix, sum), zem::atLeastOne(width, height),
                                              columnIn(column, width), columnRange(matrix, height, firstRow)))
        return s;
    *sum = lin::sumColumnAbs(lin::PointerRows<const Zem64f>{matrix}, column, firstRow, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumColumnSqr_64f_D2L(Zem64f* const* matrix, int width, int height, Zem64f* sum, int column,
                                             int firstRow, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix, sum), zem::atLeastOne(width, height),
                                              columnIn(column, width), columnRange(matrix, height, firstRow)))
        return s;
    *sum = lin::sumColumnSqr(lin::PointerRows<Zem64f>{matrix}, column, firstRow, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsDotProdColumn_64f_D2L(const Zem64f* const* matrix, int width, int height, Zem64f* sum,
                                              int column1, int column2, int firstRow) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix, sum), zem::atLeastOne(width, height),
                                              columnIn(column1, width), columnIn(column2, width),
                                              columnRange(matrix, height, firstRow)))
        return s;
    *sum = lin::dotColumns(lin::PointerRows<const Zem64f>{matrix}, column1, column2, firstRow, height);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsAddMulColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int srcColumn,
                                             int dstColumn, int firstRow, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix), zem::atLeastOne(width, height),
                                              columnIn(srcColumn, width), columnIn(dstColumn, width),
                                              columnRange(matrix, height, firstRow)))
        return s;
    lin::addMulColumn(lin::PointerRows<Zem64f>{matrix}, srcColumn, dstColumn, firstRow, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsMulColumn_64f_D2L(Zem64f* const* matrix, int width, int height, int column, int firstRow,
                                          Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(matrix), zem::atLeastOne(width, height),
                                              columnIn(column, width), columnRange(matrix, height, firstRow)))
        return s;
    lin::mulColumn(lin::PointerRows<Zem64f>{matrix}, column, firstRow, height, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumRowAbs_64f(const Zem64f* src, int len, Zem64f* sum) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, sum), zem::atLeastOne(len))) return s;
    *sum = lin::sumRowAbs(src, len);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsSumRowSqr_64f(Zem64f* srcDst, int len, Zem64f* sum, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(srcDst, sum), zem::atLeastOne(len))) return s;
    *sum = lin::sumRowSqr(srcDst, len, val);
    return zemStatusOk;
}

ZEMSR_API ZemStatus zemsAddMulRow_64f(const Zem64f* src, Zem64f* dst, int len, Zem64f val) {
    if (const ZemStatus s = zem::firstFailure(zem::nonNull(src, dst), zem::atLeastOne(len))) return s;
    lin::addMulRow(src, dst, len, val);
    return zemStatusOk;
}

}  // extern "C"
