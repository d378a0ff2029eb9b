//===- Common/Exception.cpp - Base of the exception family ----------------===//
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Common {

Exception::Exception() : m_nCode(0) {}

Exception::Exception(const char* message) : m_sMessage(message), m_nCode(0) {}

Exception::Exception(const char* message, int code) : m_sMessage(message), m_nCode(code) {}

Exception::~Exception() = default;

const char* Exception::GetMessage() const {
    return m_sMessage.c_str();
}

int Exception::GetCode() const {
    return m_nCode;
}

void Exception::SetCode(int code) {
    m_nCode = code;
}

void Exception::SetMessage(const char* message) {
    m_sMessage = message;
}

} // namespace Common
} // namespace Vemlo
