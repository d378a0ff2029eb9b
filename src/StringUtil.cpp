//===- StringUtil.cpp - Text helpers --------------------------------------===//
#include <Vemlo/StringUtil.h>

#include <Vemlo/Util/System/CSingleLock.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace StringUtil {

int SplitString(Vemlo::Data::Collection::Iterator* out, const char* text, const char* separator) {
    using Vemlo::Util::System::CCriticalSection;
    using Vemlo::Util::System::CSingleLock;

    // One split at a time in the whole process.
    static CCriticalSection m_lock;
    CSingleLock guard(&m_lock);

    if (!out)
        return 0;
    if (!text)
        text = "";
    const size_t separatorLength = separator ? std::strlen(separator) : 0;
    // An empty separator would match everywhere without advancing: it is
    // treated as never occurring.
    if (separatorLength == 0 || !std::strstr(text, separator)) {
        out->Add(text);
        return 0;
    }

    const size_t length = std::strlen(text);
    std::unique_ptr<char, decltype(&std::free)> copy(static_cast<char*>(std::malloc(length + 1)),
                                                     &std::free);
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy.get(), text, length + 1);

    char* piece = copy.get();
    for (char* found = std::strstr(piece, separator); found;
         found = std::strstr(piece, separator)) {
        *found = '\0';
        out->Add(piece);
        piece = found + separatorLength;
    }
    // The remainder after the last separator, possibly empty.
    out->Add(piece);
    return 1;
}

} // namespace StringUtil
