// btkf520/interface/exports_reports.cpp: the C functions that report and compare.
#include "btkf520/btkf520.h"
#include "btkf520/interface/boundary.h"
#include "btkf520/operations/differences.h"
#include "btkf520/operations/report.h"

using btkf::boundary::guarded;
using btkf::boundary::isContext;

int32_t TrvsLog(int32_t context, const char* archive, const char* revisions, const char* authors,
                const char* lockers, const char* labels, const char* groups, const char* words,
                const char* dates, const char* output, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context)) return TRVS_MISUSE;
    return btkf::reportLog(
        {archive, revisions, authors, lockers, labels, groups, words, dates, output, flags});
  });
}

int32_t TrvsTestDifferences(int32_t context, const char* first, const char* firstRevision,
                            const char* second, const char* secondRevision, int16_t* result,
                            int16_t tabWidth, const char* columns, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || result == nullptr) return TRVS_MISUSE;
    bool differ = false;
    const TrvsStatus status = btkf::testDifferences(
        {first, firstRevision, second, secondRevision, tabWidth, columns, flags}, &differ);
    if (status == TRVS_DONE) *result = differ ? 1 : 0;
    return status;
  });
}

int32_t TrvsReportDifferences(int32_t context, const char* first, const char* firstRevision,
                              const char* second, const char* secondRevision, const char* output,
                              int16_t contextLines, int16_t form, int16_t tabWidth,
                              const char* columns, uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || form != 0) return TRVS_MISUSE;
    return btkf::reportDifferences(
        {first, firstRevision, second, secondRevision, tabWidth, columns, flags}, output,
        contextLines);
  });
}

int32_t TrvsGenGuiDelta(int32_t context, const char* first, const char* firstRevision,
                        const char* second, const char* secondRevision, int16_t tabWidth,
                        const char* columns, const char* output, int32_t changedColour,
                        int16_t changedStyle, int32_t addedColour, int16_t addedStyle,
                        int32_t deletedColour, int16_t deletedStyle, int32_t reserved,
                        uint32_t flags) {
  return guarded([&] {
    if (!isContext(context) || reserved != 0) return TRVS_MISUSE;
    return btkf::listDifferences(
        {first, firstRevision, second, secondRevision, tabWidth, columns, flags}, output,
        {{changedColour, changedStyle}, {addedColour, addedStyle}, {deletedColour, deletedStyle}});
  });
}
