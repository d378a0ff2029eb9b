//===- Common/Xml/Attribute.cpp - One XML attribute -----------------------===//
#include <Vemlo/Common/Xml/Attribute.h>

#include <string>

namespace Vemlo {
namespace Common {
namespace Xml {

Attribute::Attribute() = default;

Attribute::Attribute(const char* name) : m_sName(name) {}

Attribute::Attribute(const char* name, const char* value) : m_sValue(value), m_sName(name) {}

Attribute::~Attribute() = default;

const char* Attribute::getName() const { return m_sName.c_str(); }

const char* Attribute::getValue() const { return m_sValue.c_str(); }

int Attribute::setName(const char* name) {
    m_sName = name;
    return 1;
}

int Attribute::setValue(const char* value) {
    m_sValue = value;
    return 1;
}

const char* Attribute::getOuterXml() {
    m_sOuterXml = m_sName;
    m_sOuterXml.append("=\"").append(m_sValue).append("\"");
    return m_sOuterXml.c_str();
}

int Attribute::LoadXML(const char* text) {
    const std::string s(text ? text : "");
    const size_t eq = s.find('=');
    String name((eq == std::string::npos ? s : s.substr(0, eq)).c_str());
    name = name.TrimRight();
    m_sName = name.TrimLeft();

    // Positions compare as signed numbers: without any quote both are -1 and
    // the value is the whole text.
    const long q1 = static_cast<long>(s.find('"'));
    const long q2 = static_cast<long>(s.find('"', static_cast<size_t>(q1 + 1)));
    if (q1 < q2)
        m_sValue = s.substr(q1 + 1, q2 - q1 - 1).c_str();
    else
        m_sValue = s.substr(static_cast<size_t>(q1 + 1)).c_str();
    return 1;
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
