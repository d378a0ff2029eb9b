//===- Data/Properties/PlaneTextProperty.cpp - key=value; files -----------===//
#include <Vemlo/Data/Properties/PlaneTextProperty.h>

#include <Vemlo/String.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Properties/PropertyException.h>

#include "Data/Properties/FileReplace.h"
#include "Support/Io.h"
#include "Support/Text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>

namespace Vemlo {
namespace Data {
namespace Properties {

namespace {

using Vemlo::detail::FileCloser;
using Vemlo::detail::orEmpty;

// What a new file holds: one entry, no newline.
const char kCommentLine[] = "Comment=Trimlo Configuration File;";
// Read buffer of one line (a longer line is read in pieces).
constexpr size_t kLineBufferSize = 2000;
// Longest key and value a line may carry.
constexpr size_t kMaxKeyLength = 255;
constexpr size_t kMaxValueLength = 255;
// Buffer of the temporary file's name.
constexpr size_t kPathBufferSize = 1024;

[[noreturn]] void throwWithPath(const char* format, const char* path) {
    String message;
    message.Format(format, path);
    throw new PropertyException(message.c_str());
}

// (Re)creates `path` holding only the comment line.
void createWithComment(const char* path) {
    FILE* file = std::fopen(path, "w");
    if (!file)
        throwWithPath("cannot open file [%s]", path);
    FileCloser closer(file);
    std::fwrite(kCommentLine, 1, sizeof kCommentLine - 1, file);
}

// `path` as one word for the shell (see shellQuote); "./" in front of a
// leading '-' so that mv does not read it as an option.
std::string shellWord(const char* path) {
    return Vemlo::detail::shellQuote(std::string(path[0] == '-' ? "./" : "") + path);
}

} // namespace

PlaneTextProperty::PlaneTextProperty() = default;

PlaneTextProperty::~PlaneTextProperty() = default;

int PlaneTextProperty::Load(const char* path) {
    // A file that was just created (or does not look like a property file) is
    // not read.
    if (IsValidate(path) == 0)
        return 0;
    FILE* file = std::fopen(path, "r");
    if (!file)
        throwWithPath("cannot open file [%s]", path);
    FileCloser closer(file);
    char line[kLineBufferSize];
    for (;;) {
        std::memset(line, 0, sizeof line);
        if (!std::fgets(line, sizeof line, file))
            break;
        ParseLine(line);
    }
    return closer.close();
}

int PlaneTextProperty::IsValidate(const char* path) {
    if (!path)
        throw new PropertyException("FIlename is NULL");
    FILE* file = std::fopen(path, "r");
    if (!file) {
        const int error = errno;
        std::puts("PlanText Property :: IsValidate Start ");
        // Only a missing file is created: one that exists but cannot be read
        // must not be truncated by opening it for writing.
        if (error != ENOENT)
            throwWithPath("cannot open file [%s]", path);
        createWithComment(path);
        return 0;
    }
    FileCloser closer(file);
    struct stat info;
    if (stat(path, &info) == -1) {
        closer.close();
        throw new PropertyException("fstat return error");
    }
    // A folder opens for reading on Linux but is no property file.
    if (S_ISDIR(info.st_mode))
        return 0;
    if (info.st_size == 0) {
        closer.close();
        createWithComment(path);
        return 0;
    }
    char line[kLineBufferSize];
    std::memset(line, 0, sizeof line);
    // A file that cannot be read reads as nothing.
    if (!std::fgets(line, sizeof line, file))
        return 0;
    return std::strchr(line, '=') || std::strchr(line, '#') ? 1 : 0;
}

int PlaneTextProperty::Update(const char* path) {
    // Nothing to write to: reported like a command that could not run.
    if (!path)
        return -1;
    // Through a symbolic link the file it points at is replaced, next to
    // itself, and the link stays.
    const std::string target = FileReplace::ResolveLinks(path);
    // A name too long for the buffer would be cut to another file's name.
    if (target.size() + sizeof ".tmp" > kPathBufferSize)
        throwWithPath("cannot open file [%s]", path);
    char tmpName[kPathBufferSize];
    std::memset(tmpName, 0, sizeof tmpName);
    std::snprintf(tmpName, sizeof tmpName, "%s.tmp", target.c_str());

    FILE* file = std::fopen(tmpName, "wb");
    if (!file)
        throwWithPath("cannot open file [%s]", path);
    // Every entry as it is: a value holding ';' or a newline reloads cut at
    // it, as callers have always seen, but nothing is left out.
    Vemlo::Data::Collection::HashTable* table = getTable();
    bool written = true;
    const int count = table->getCount();
    std::string line;
    for (int i = 0; i < count && written; ++i) {
        const char* key = table->getKey(i);
        if (!key)
            continue;
        const char* value = table->getStringValue(i);
        line.assign(key).append("=").append(orEmpty(value)).append(";\n");
        written = std::fwrite(line.data(), 1, line.size(), file) == line.size();
    }
    // The new file keeps the old one's permissions, and is on the disk before
    // it replaces it: a power cut leaves the old file or the new one, whole.
    FileReplace::CopyOwnerAndMode(fileno(file), target);
    if (std::fflush(file) != 0 || !FileReplace::SyncFile(fileno(file)))
        written = false;
    // A short write (full disk, file size limit) may only show here.
    if (std::fclose(file) != 0)
        written = false;
    // An incomplete file never replaces the old one.
    if (!written) {
        std::remove(tmpName);
        return -1;
    }

    // The file is replaced in one step, only now that the new one is complete.
    // The shell command is kept: its status is what callers have always
    // been given.
    const std::string command = "mv -f " + shellWord(tmpName) + " " + shellWord(target.c_str());
    const int status = std::system(command.c_str());
    if (status == 0)
        FileReplace::SyncFolder(target);
    return status;
}

int PlaneTextProperty::ParseLine(char* line) {
    if (!line)
        return 0;
    // A comment marker anywhere disables the whole line.
    if (std::strchr(line, '#'))
        return 0;
    if (char* newline = std::strchr(line, '\n'))
        *newline = '\0';
    const char* equals = std::strchr(line, '=');
    if (!equals)
        return 0;
    const size_t keyLength = static_cast<size_t>(equals - line);
    if (keyLength > kMaxKeyLength)
        return 0;
    const char* valueStart = equals + 1;
    const char* semicolon = std::strchr(valueStart, ';');
    if (!semicolon)
        return 0;
    const size_t valueLength = static_cast<size_t>(semicolon - valueStart);
    if (valueLength > kMaxValueLength)
        return 0;
    // Nothing is trimmed: blanks around the key and the value are kept.
    char key[kMaxKeyLength + 1];
    char value[1024];
    std::memset(key, 0, sizeof key);
    std::memset(value, 0, sizeof value);
    std::memcpy(key, line, keyLength);
    std::memcpy(value, valueStart, valueLength);
    setValue(key, value);
    return 1;
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
