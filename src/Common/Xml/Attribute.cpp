//===- Common/Xml/Attribute.cpp - One XML attribute -----------------------===//
#include <Vemlo/Common/Xml/Attribute.h>

#include "Support/Text.h"

#include <cstring>
#include <string>

namespace Vemlo {
namespace Common {
namespace Xml {

namespace {

using Vemlo::detail::isBlank;

} // namespace

Attribute::Attribute() = default;

Attribute::Attribute(const char* name) : m_sName(name) {}

Attribute::Attribute(const char* name, const char* value) : m_sValue(value), m_sName(name) {}

Attribute::~Attribute() = default;

const char* Attribute::getName() const {
    return m_sName.c_str();
}

const char* Attribute::getValue() const {
    return m_sValue.c_str();
}

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
    if (!text)
        text = "";
    const char* const end = text + std::strlen(text);
    const char* eq = std::strchr(text, '=');
    const char* nameEnd = eq ? eq : end;

    // The name is trimmed on the right, then on the left: together every
    // blank at either end goes.
    const char* nameStart = text;
    while (nameStart < nameEnd && isBlank(*nameStart))
        ++nameStart;
    while (nameEnd > nameStart && isBlank(nameEnd[-1]))
        --nameEnd;
    m_sName = std::string(nameStart, nameEnd).c_str();

    // Between the first two double quotes; after the first one when there is
    // no second; the whole text when there is none at all.
    const char* q1 = std::strchr(text, '"');
    const char* q2 = q1 ? std::strchr(q1 + 1, '"') : nullptr;
    if (q1 && q2)
        m_sValue = std::string(q1 + 1, q2).c_str();
    else
        m_sValue = q1 ? q1 + 1 : text;
    return 1;
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
