// The threaded form of a long-vector operation.
//
// The vector is cut into one slice per thread of a team of at most two; each slice runs
// the serial body.  Slices are cut by element, so results do not depend on the team
// size.  The return value counts the slices whose body reported something.
#pragma once

#include "zemcore.h"

#if defined(_OPENMP)
#include <omp.h>
#endif

namespace zem {

// body(start, count) runs the serial operation on elements [start, start + count) and
// returns true when it has something to report.
template <class Body>
int runThreaded(int len, Body&& body) {
    const int n = ownGetNumThreads();
#if defined(_OPENMP)
    if (n > 1 && len >= n) {
        int reports = 0;
        int team = 1, share = 0, rest = 0;
#pragma omp parallel num_threads(n < 2 ? n : 2) default(none) shared(reports, team, share, rest, len, body)
        {
#pragma omp master
            {
                team = omp_get_num_threads();
                share = len / team;
                rest = len % team;
            }
#pragma omp barrier
            const int k = omp_get_thread_num();
            const int count = k == team - 1 ? share + rest : share;
            if (body(k * share, count)) {
#pragma omp atomic
                ++reports;
            }
        }
        return reports;
    }
#else
    (void)n;
#endif
    return body(0, len) ? 1 : 0;
}

// Runs the threaded form from `threshold` elements on and the plain serial body below.
template <class Body>
int runMaybeThreaded(int len, int threshold, Body&& body) {
    if (len < threshold) return body(0, len) ? 1 : 0;
    return runThreaded(len, body);
}

}  // namespace zem
