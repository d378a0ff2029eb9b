//===- Data/BoxCollect/ReqBox.cpp - Request payload -----------------------===//
#include <Vemlo/Data/BoxCollect/ReqBox.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

ReqBox::ReqBox() : Box(), m_sService(""), m_sCommand("") {}

ReqBox::~ReqBox() = default;

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo
