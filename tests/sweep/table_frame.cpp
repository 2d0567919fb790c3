// The sweep's rows for the library frame (see table_likelihood.cpp for the roles).
#include "sweep.h"

namespace sweep {

void addFrameRows(Table& t) {
    t.family = "frame";
    ROW(t, zemsrGetLibVersion, {}, {});
}

}  // namespace sweep
