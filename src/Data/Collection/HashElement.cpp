//===- Data/Collection/HashElement.cpp - One key/value pair ---------------===//
#include <Vemlo/Data/Collection/HashElement.h>

namespace Vemlo {
namespace Data {
namespace Collection {

HashElement::HashElement(const char* key, const char* value)
    : m_sKey(key), m_pValue(new String(value)), m_bOwnsValue(true) {}

HashElement::HashElement(const char* key, Object* value)
    : m_sKey(key), m_pValue(value), m_bOwnsValue(true) {}

// Both elements refer to the same value afterwards, and both own it; callers
// that copy detach it from one of them (see the header).
HashElement::HashElement(const HashElement& other)
    : Object(other), m_sKey(other.m_sKey), m_pValue(other.m_pValue),
      m_bOwnsValue(other.m_bOwnsValue) {}

HashElement::~HashElement() {
    if (m_pValue && m_bOwnsValue)
        delete m_pValue;
}

// Deliberately empty: an element is never overwritten by assignment, so a
// value is never silently shared or lost that way.
HashElement& HashElement::operator=(const HashElement&) {
    return *this;
}

const char* HashElement::getKey() {
    return m_sKey.c_str();
}

Object* HashElement::getValue() {
    return m_pValue;
}

const char* HashElement::getStringValue() {
    String* text = dynamic_cast<String*>(m_pValue);
    return text ? text->c_str() : nullptr;
}

void HashElement::setValue(Object* value) {
    m_pValue = value;
}

void HashElement::setValue(const char* value) {
    String* text = new String(value);
    if (m_pValue && m_bOwnsValue)
        delete m_pValue;
    m_pValue = text;
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
