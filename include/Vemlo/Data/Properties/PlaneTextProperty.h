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
/// PlaneTextProperty is the property set stored in a plain-text file of
/// `key=value;` lines, one entry a line:
///  - a line holding '#' anywhere is ignored as a whole (not just after it);
///  - the key is everything before the first '=', at most 255 bytes;
///  - the value runs from after the '=' to the first ';', at most 255 bytes;
///    a line without '=' or ';' is ignored, and text after the ';' too;
///  - nothing is trimmed: "a = b;" stores the key "a " and the value " b".
///
/// Lines are read in pieces of up to 1999 bytes: a longer line is parsed as
/// several lines, each piece on its own. A zero byte ends the piece it is in.
///
/// A missing or empty file is created holding the single line
/// "Comment=Trimlo Configuration File;" (no newline), which loads as the entry
/// Comment; that first Load returns 0 without reading anything. A file whose
/// first line holds neither '=' nor '#' is not read at all.
///
/// Update writes every entry, in table order, as "key=value;\n" into
/// "<path>.tmp" and moves it over the file with the shell command
/// "mv -f <tmp> <path>", so the file is replaced only after the new one has
/// been written in full. Every entry is written as it is: a value holding ';'
/// or a newline reloads cut at it, as the format has always had it. A write
/// error (a full disk, a file size limit) gives a non-zero status, removes
/// the temporary file and leaves the old file as it was. A failed move is
/// reported by the command's status only. Paths are passed to the shell
/// quoted where needed. The new file gets the old one's owner (where the
/// process may give it) and permission bits, is synced before the move and
/// the folder after it, so that a power cut leaves the old file or the new
/// one, whole. A path that is a symbolic link stays a link: the file it
/// points at is replaced, through "<that file>.tmp". Departures:
/// docs/Compatibility.md.
///
/// Failures are thrown as PropertyException* (the catcher deletes it).
/// Messages print to standard output ("PlanText Property :: IsValidate Start "
/// when a file is created).
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
