//===- Data/BoxCollect/RespBox.cpp - Response payload ---------------------===//
#include <Vemlo/Data/BoxCollect/RespBox.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

RespBox::RespBox() : Box(), m_sResult("") {}

RespBox::~RespBox() = default;

const char* RespBox::GetResult() {
    return m_sResult.c_str();
}

void RespBox::SetResult(const char* result) {
    m_sResult = result;
}

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo
