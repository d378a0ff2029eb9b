//===- Data/Properties/FileReplace.h - Replacing files whole ----*- C++ -*-===//
//
// Property files are replaced so that a power cut at any instant leaves the
// old file or the new one, each complete: the new text goes to a temporary
// file in the same folder, is synced, renamed over the file, and the folder is
// synced. A path that is a symbolic link stays a link: the file it points at
// is the one replaced. Internal to the library.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_DATA_PROPERTIES_FILEREPLACE_H
#define VEMLO_SRC_DATA_PROPERTIES_FILEREPLACE_H

#include <cstddef>
#include <string>

namespace Vemlo {
namespace Data {
namespace Properties {
namespace FileReplace {

// The file `path` names once symbolic links are followed (also when the last
// link points at nothing yet); `path` itself when it is no link or the links
// go round in a circle.
std::string ResolveLinks(const char* path);

// Gives the open file `fd`, which is to replace `target`, the owner and the
// permission bits of `target` when it exists. False when the owner could not
// be given (the process may not), true otherwise.
bool CopyOwnerAndMode(int fd, const std::string& target);

// Flushes the file's data to the disk: true when it is there.
bool SyncFile(int fd);

// Flushes the folder that holds `target`, so that a rename in it lasts.
void SyncFolder(const std::string& target);

// Replaces the file `path` (through links) by `size` bytes of `data`: written
// to a temporary file next to it, synced and renamed over it, the folder
// synced. Where a new file cannot stand in for the old one (a folder the
// process may not write, an owner it may not give, a file with other names)
// the file is written in place instead. True when the file holds the data;
// on false the old file is as it was (apart from an in-place write that
// failed) and no temporary file is left.
bool Replace(const char* path, const char* data, size_t size);

} // namespace FileReplace
} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_SRC_DATA_PROPERTIES_FILEREPLACE_H
