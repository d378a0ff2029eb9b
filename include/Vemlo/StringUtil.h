//===- Vemlo/StringUtil.h - Text helpers ------------------------*- C++ -*-===//
#ifndef VEMLO_STRINGUTIL_H
#define VEMLO_STRINGUTIL_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/Iterator.h>

/// \brief Helpers over plain texts.
///
/// StringUtil gathers helpers over plain texts. SplitString cuts a text at a
/// separator into the items of an Iterator.
///
/// SplitString runs under one process-wide critical section (one System V
/// semaphore set, created on first use and removed at process exit), so at
/// most one split runs at a time; the output list itself is not locked.
namespace StringUtil {

/// Appends the pieces of `text` between occurrences of `separator` (matched as
/// a whole string) to `out`, as text items (ArrayList::Add(const char*)), after
/// whatever `out` holds already. Empty pieces are kept: a separator at either
/// end, or two in a row, give empty items. Returns 1 if the separator occurred
/// at least once; otherwise appends `text` unchanged as the only piece and
/// returns 0.
/// An empty or null separator never occurs (the whole text is one piece, 0). A
/// null `text` is the empty text. A null `out` does nothing and returns 0.
VEMLO_API int SplitString(Vemlo::Data::Collection::Iterator* out, const char* text,
                          const char* separator);

} // namespace StringUtil

#endif // VEMLO_STRINGUTIL_H
