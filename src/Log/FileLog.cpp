//===- Log/FileLog.cpp - A named log channel ------------------------------===//
#include <Vemlo/Log/FileLog.h>

#include "Support/Text.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <syslog.h>
#include <unistd.h>

namespace Vemlo {
namespace Log {

namespace {

using Vemlo::detail::isSpaceOrTab;
using Vemlo::detail::orEmpty;

using Vemlo::Util::System::Mutex;

// The framework name: channels whose name contains it carry the process name.
constexpr const char* kFramework = "Vemlo";

// Sizes of the buffers of one line: the message is cut at 4079 characters.
constexpr size_t kMessageSize = 4080;
constexpr size_t kLineSize = 4096;
// Size of the buffers of the `ps` scan.
constexpr size_t kPsLineSize = 1024;

// Rebuilds `result` (kPsLineSize bytes) as "(" + the fourth blank-separated
// field of `line` + ")". The scan stops at a newline or the end of the text,
// after at most kPsLineSize characters.
void fourthField(const char* line, char* result) {
    std::memset(result, 0, kPsLineSize);
    size_t length = 0;
    result[length++] = '(';
    int field = 0;
    bool inField = false;
    for (size_t i = 0; i < kPsLineSize && line[i] != '\0' && line[i] != '\n'; ++i) {
        if (isSpaceOrTab(line[i])) {
            inField = false;
            continue;
        }
        if (!inField) {
            inField = true;
            if (++field > 4)
                break;
        }
        // Room is kept for ")" and the terminating NUL.
        if (field == 4 && length < kPsLineSize - 2)
            result[length++] = line[i];
    }
    result[length] = ')';
}

// The process name as the last `ps` line that mentions this process shows
// it, as "(name)"; false when `ps` cannot be run.
bool processTag(String& tag) {
    char command[128] = {0};
    snprintf(command, sizeof command, "ps | grep '%d' | grep -v 'grep'",
             static_cast<int>(getpid()));
    FILE* pipe = popen(command, "r");
    if (pipe == nullptr)
        return false;
    char line[kPsLineSize] = {0};
    char result[kPsLineSize] = {0};
    // Each line overwrites the result of the one before: the last one wins.
    while (fgets(line, sizeof line, pipe) != nullptr)
        fourthField(line, result);
    tag = result;
    pclose(pipe);
    return true;
}

void writeLine(const String& identity, int priority, const char* prefix, const char* format,
               va_list args) {
    char message[kMessageSize] = {0};
    char line[kLineSize] = {0};
    std::strcpy(line, prefix);
    if (format != nullptr)
        vsnprintf(message, kMessageSize, format, args);
    std::strncat(line, message, kMessageSize);
    openlog(identity.c_str(), LOG_CONS | LOG_NDELAY, LOG_USER);
    // Passed as data: a "%" in the text reaches the log as it is.
    syslog(priority, "%s", line);
    closelog();
}

} // namespace

FileLog::FileLog(const char* directory, const char* name)
    : m_nLevel(0), m_pFile(nullptr), m_pMutex(nullptr), m_nBackupRange(0) {
    String mutexName;
    mutexName.Format("%s%s", orEmpty(directory), orEmpty(name));
    m_pMutex = new Mutex(mutexName.c_str());

    m_sDirectory = directory;
    m_sName = name;

    if (m_sName.find(kFramework) != String::npos) {
        String tag;
        // Without `ps` the construction ends here: backup range 0 and no
        // framework tag. Callers have always seen it so; it is kept.
        if (!processTag(tag))
            return;
        m_sName += tag;
    }
    m_nBackupRange = 10;
    m_sFramework = kFramework;
}

FileLog::FileLog(const FileLog& other)
    : Object(other), m_sName(other.m_sName), m_sDirectory(other.m_sDirectory),
      m_sReserved(other.m_sReserved), m_sFramework(other.m_sFramework), m_nLevel(other.m_nLevel),
      m_pFile(nullptr), m_pMutex(new Mutex(other.m_pMutex ? other.m_pMutex->getName() : "")),
      m_nBackupRange(other.m_nBackupRange), m_time(other.m_time) {}

FileLog& FileLog::operator=(const FileLog&) {
    // Deliberately does nothing; existing callers expect a channel to keep
    // its identity.
    return *this;
}

FileLog::~FileLog() {
    delete m_pMutex;
    m_pMutex = nullptr;
    if (m_pFile != nullptr)
        fclose(m_pFile);
    m_pFile = nullptr;
}

void FileLog::WriteDebug(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLine(m_sName, LOG_DEBUG, "[DEBUG] ", format, args);
    va_end(args);
}

void FileLog::WriteInfo(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLine(m_sName, LOG_INFO, "[INFO] ", format, args);
    va_end(args);
}

void FileLog::WriteWarning(const char* format, ...) {
    va_list args;
    va_start(args, format);
    // "[WARN] " although setLevel names the level "WARNING"; both are kept.
    writeLine(m_sName, LOG_WARNING, "[WARN] ", format, args);
    va_end(args);
}

void FileLog::WriteError(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLine(m_sName, LOG_ERR, "[ERROR] ", format, args);
    va_end(args);
}

void FileLog::WriteCrit(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLine(m_sName, LOG_CRIT, "[CRIT] ", format, args);
    va_end(args);
}

void FileLog::WriteEmerg(const char* format, ...) {
    va_list args;
    va_start(args, format);
    writeLine(m_sName, LOG_EMERG, "[EMERG] ", format, args);
    va_end(args);
}

void FileLog::setLevel(int level) {
    m_nLevel = level;
}

void FileLog::setLevel(const char* name) {
    const char* text = orEmpty(name);
    if (std::strcmp(text, "ERROR") == 0)
        m_nLevel = 0;
    else if (std::strcmp(text, "DEBUG") == 0)
        m_nLevel = 3;
    else if (std::strcmp(text, "WARNING") == 0)
        m_nLevel = 1;
    else if (std::strcmp(text, "INFO") == 0)
        m_nLevel = 2;
    else
        m_nLevel = 3;
}

void FileLog::setBackupRange(int days) {
    if (days >= 1 && days <= 29)
        m_nBackupRange = days;
}

int FileLog::OpenLog(const char*) {
    return 0;
}

int FileLog::CloseLog() {
    if (m_pFile != nullptr)
        fclose(m_pFile);
    m_pFile = nullptr;
    return 0;
}

void FileLog::Check() {}

const char* FileLog::getTimeInfo() {
    // Per-thread storage, so the text outlives the call without a field.
    static thread_local String text;
    getTimeInfo(&text);
    return text.c_str();
}

void FileLog::getTimeInfo(String* out) {
    if (out == nullptr)
        return;
    m_time.CheckNow();
    int hour = static_cast<int>(std::strtol(m_time.getHour(), nullptr, 10));
    int minute = static_cast<int>(std::strtol(m_time.getMinute(), nullptr, 10));
    int second = static_cast<int>(std::strtol(m_time.getSecond(), nullptr, 10));
    int millisecond = static_cast<int>(std::strtol(m_time.getMillisecond(), nullptr, 10));
    out->Format("%02d:%02d:%02d:%03d", hour, minute, second, millisecond);
}

} // namespace Log
} // namespace Vemlo
