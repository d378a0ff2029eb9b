// A separate application using an installed libVemlo through its umbrella header.
#include <Vemlo/Vemlo.h>

#include <cstdio>
#include <string>

int main() {
    String s;
    s.Format("%s %d", "consumer", 1);
    // Links only when the application and the library agree on std::string
    // (a library built with the legacy string ABI passes that on).
    String fromStd(std::string("consumer 1"));
    Vemlo::Util::System::CCriticalSection section;
    { Vemlo::Util::System::CSingleLock guard(&section); }
    try {
        throw new Vemlo::Net::NetException("cannot connect", 1004);
    } catch (Vemlo::Common::Exception* e) {
        bool ok = e->GetCode() == 1004 && s == "consumer 1" && fromStd == s;
        delete e;
        if (!ok)
            return 1;
    }
    std::printf("consumer: ok\n");
    return 0;
}
