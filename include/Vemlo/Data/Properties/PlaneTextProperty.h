//===- Vemlo/Data/Properties/PlaneTextProperty.h - key=value ----*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_PLANETEXTPROPERTY_H
#define VEMLO_DATA_PROPERTIES_PLANETEXTPROPERTY_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Properties/Property.h>

namespace Vemlo {
namespace Data {
namespace Properties {

/// \brief A property set stored in a plain-text file of `key=value;` lines.
///
/// One `key=value;` entry a line, nothing trimmed, '#' anywhere skips the line;
/// a missing file is created with one Comment entry. Update writes a temporary
/// file and moves it over the old one, so a power cut leaves one file whole.
/// Ownership: the set owns its table (see Property).
/// Threads: none.
/// Failures: thrown as PropertyException* (the catcher deletes it); messages
/// print to standard output.
/// Details: docs/Configuration.md; departures: docs/Compatibility.md.
class VEMLO_API PlaneTextProperty : public Property {
public:
    /// An empty set; nothing is read until Load.
    PlaneTextProperty();

    ~PlaneTextProperty() override;

    /// IsValidate, then every line of the file into the set (entries already
    /// there stay; loaded keys replace them). 0 when IsValidate gave 0 (the
    /// file was created, is empty, or does not look like a property file);
    /// otherwise the result of closing the file (0). Throws PropertyException*
    /// "cannot open file [<path>]" when the file cannot be read.
    int Load(const char* path) override;

    /// 1 when the file exists and its first line holds '=' or '#', else 0. A
    /// missing or empty file is (re)created with the comment line and gives 0.
    /// A folder gives 0. Throws PropertyException* "FIlename is NULL" for a
    /// null path, "cannot open file [<path>]" when the file cannot be created,
    /// or exists but cannot be read (it is never truncated then), and "fstat
    /// return error" when it cannot be examined.
    int IsValidate(const char* path) override;

    /// Writes the set to `path` through "<path>.tmp" and "mv -f"; returns the
    /// status of the move command (0 on success, as system() gives it). -1,
    /// with the old file untouched and no temporary file left, when the
    /// temporary file cannot be written in full or `path` is null. Throws
    /// PropertyException* "cannot open file [<path>]" when the temporary file
    /// cannot be created (also for a path too long to extend).
    int Update(const char* path) override;

    /// Parses one line in place (it may be changed) and stores its entry with
    /// setValue. 1 when an entry was stored, 0 when the line was skipped (also
    /// for a null line).
    int ParseLine(char* line);
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_PLANETEXTPROPERTY_H
