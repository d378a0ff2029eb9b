//===- Data/Properties/Property.cpp - Key/value store over a table --------===//
#include <Vemlo/Data/Properties/Property.h>

#include <Vemlo/String.h>
#include <Vemlo/Data/Collection/HashTable.h>

#include <climits>
#include <cstdlib>

namespace Vemlo {
namespace Data {
namespace Properties {

using Vemlo::Data::Collection::HashTable;

Property::Property() : m_pTable(new HashTable) {}

// Shares the table; existing code declares this copy, the framework never
// uses it.
Property::Property(const Property& other) : IProperty(), m_pTable(other.m_pTable) {}

Property::~Property() {
    delete m_pTable;
    m_pTable = nullptr;
}

Property& Property::operator=(const Property&) {
    return *this;
}

void Property::setObjValue(const char* key, Vemlo::Data::Object* value) {
    m_pTable->AddObj(key, value);
}

void Property::setValue(const char* key, const char* value) {
    m_pTable->AddObj(key, value);
}

const char* Property::getValue(const char* key) {
    return m_pTable->getStringValue(key);
}

Vemlo::Data::Object* Property::getObjValue(const char* key) {
    return m_pTable->getValue(key);
}

int Property::getIntValue(const char* key) {
    const String text(m_pTable->getStringValue(key));
    const long value = std::strtol(text.c_str(), nullptr, 10);
    // Out-of-range numbers saturate as strtol does where long is 32 bits.
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

double Property::getDoubleValue(const char* key) {
    const String text(m_pTable->getStringValue(key));
    return std::strtod(text.c_str(), nullptr);
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
