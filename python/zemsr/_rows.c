/* The package's row helper: calls one export of the form f(src, dst, state) on every row
 * of a matrix, so that a whole utterance crosses from Python to C once.  It stops at the
 * first error and reports the row; warnings do not stop it, the first one is returned. */
typedef int (*RowFunction)(const void* src, void* dst, const void* state);

int zemsrPyEachRow(RowFunction fn, const char* src, long long srcStep, char* dst, long long dstStep,
                   const void* state, int rows, int* done) {
    int warning = 0;
    for (int i = 0; i < rows; ++i) {
        const int status = fn(src + (long long)i * srcStep, dst + (long long)i * dstStep, state);
        if (status < 0) {
            *done = i;
            return status;
        }
        if (status > 0 && warning == 0) warning = status;
    }
    *done = rows;
    return warning;
}
