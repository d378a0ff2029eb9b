//===- Vemlo/Export.h - Symbol visibility for the public API ----*- C++ -*-===//
//
// VEMLO_API marks the classes that libVemlo exports. The library is built
// with hidden visibility, so anything not marked stays private to it.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_EXPORT_H
#define VEMLO_EXPORT_H

#if defined(__GNUC__)
#define VEMLO_API __attribute__((visibility("default")))
#else
#define VEMLO_API
#endif

#endif // VEMLO_EXPORT_H
