//===- Vemlo/Common/Exception.h - Base of the exception family --*- C++ -*-===//
#ifndef VEMLO_COMMON_EXCEPTION_H
#define VEMLO_COMMON_EXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Common {

/// \brief Base of the exception family: a message and an int code, thrown as a pointer.
///
/// Every failure libVemlo reports is thrown as a pointer to a newly allocated
/// object of this family: `throw new NetException("...", 1004)`. The handler
/// that catches the pointer owns the object and deletes it, through an
/// Exception* if it likes (the destructor is virtual). Each object carries a
/// message and an int code. The family does not derive from std::exception.
/// Details: docs/Strings.md.
class VEMLO_API Exception {
public:
    /// Empty message, code 0.
    Exception();
    /// A copy of `message` (null gives an empty message), code 0.
    explicit Exception(const char* message);
    /// A copy of `message` (null gives an empty message) and `code`.
    Exception(const char* message, int code);

    virtual ~Exception();

    /// The message text; never null, empty by default.
    const char* GetMessage() const;
    ///@{
    /// The code: 0 unless given to the constructor or to SetCode.
    int GetCode() const;
    void SetCode(int code);
    ///@}
    /// Replaces the message with a copy of `message`; null gives an empty one.
    void SetMessage(const char* message);

private:
    // Field order is the object's binary layout.
    String m_sMessage;
    int m_nCode;
};

} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_EXCEPTION_H
