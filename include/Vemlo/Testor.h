//===- Vemlo/Testor.h - The on-device self-test -----------------*- C++ -*-===//
#ifndef VEMLO_TESTOR_H
#define VEMLO_TESTOR_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

/// \brief The on-device self-test: checks of each subsystem, printed as [PASS] / [FAIL] lines.
///
/// Testor runs checks a device integrator uses on real hardware: each routine
/// exercises one subsystem through the public API, with real files under the
/// working directory (VEMLO_WORKING_DIRECTORY, which must hold the
/// configuration folder Vemlo/Conf/default.config), the real system log and
/// real System V semaphores, and prints one line per check to standard
/// output: "[PASS] <check>" or "[FAIL] <check>: expected <x>, got <y>". Run()
/// runs every routine in order, prints "N passed, M failed" and returns the
/// number failed. Files a routine writes go to
/// `<working directory>/Vemlo/Testor/` and are removed by it. Not thread-safe:
/// run one Testor at a time.
/// Details: docs/SelfTest.md.
class VEMLO_API Testor {
public:
    Testor();
    virtual ~Testor();

    ///@{
    /// Each returns the number of its checks that failed.
    int XmlTest();
    int ConfigTest();
    int PathTest();
    int LogTest();
    int CollectionTest();
    int ConvertTest();
    int StringTest();
    ///@}

    /// All of the above in that order, then the summary line; the number of
    /// checks that failed.
    int Run();

    ///@{
    /// Checks passed / failed so far, over every routine run.
    int getPassed() const { return m_nPassed; }
    int getFailed() const { return m_nFailed; }
    ///@}

private:
    // Records and prints one check; true when it passed.
    bool Check(const char* name, bool ok, const char* expected, const char* actual);
    bool CheckText(const char* name, const char* expected, const char* actual);
    bool CheckInt(const char* name, long expected, long actual);
    // <working directory>/Vemlo/Testor/, created on demand.
    String ScratchFolder();

    int m_nPassed;
    int m_nFailed;
};

#endif // VEMLO_TESTOR_H
