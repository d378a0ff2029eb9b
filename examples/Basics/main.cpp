// vemlo-basics: formats and edits text, guards a counter shared by two
// threads with a kernel critical section, and reports failures the libVemlo
// way (a thrown pointer the handler deletes).
#include <Vemlo/Vemlo.h>

#include <cstdio>
#include <thread>

using Vemlo::Util::System::CCriticalSection;
using Vemlo::Util::System::CSingleLock;

namespace {

// Parses "key=value;" and throws a NetException* on a line without '='.
String valueOf(const String& line) {
    const auto eq = line.find('=');
    if (eq == String::npos) {
        String message;
        message.Format("malformed line: %s", line.c_str());
        throw new Vemlo::Net::NetException(message.c_str(), 0);
    }
    return String(line.substr(eq + 1).c_str()).Replace(";", "");
}

} // namespace

int main() {
    String line("  Base.Log.Level=3;\r\n");
    String trimmed = line.TrimLeft().TrimRight();
    std::printf("trimmed    : [%s]\n", trimmed.c_str());
    std::printf("value      : [%s]\n", valueOf(trimmed).c_str());

    String path;
    path.Format("%s/Vemlo/Conf/%s", "/opt/device", "default.config");
    std::printf("formatted  : %s\n", path.c_str());
    std::printf("replaced   : %s\n", String(path).Replace("default", "backup").c_str());
    std::printf("upper-case : %s\n", String("status ok").ToUpper().c_str());

    CCriticalSection section;
    long counter = 0;
    auto work = [&] {
        for (int i = 0; i < 1000; ++i) {
            CSingleLock guard(&section);
            ++counter;
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    std::printf("counter    : %ld (two threads x 1000, semaphore set %d)\n", counter,
                section.getSemId());

    try {
        valueOf(String("no separator"));
    } catch (Vemlo::Common::Exception* e) {
        std::printf("caught     : %s (code %d)\n", e->GetMessage(), e->GetCode());
        delete e;
    }
    return counter == 2000 ? 0 : 1;
}
