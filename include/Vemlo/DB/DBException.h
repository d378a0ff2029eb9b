//===- Vemlo/DB/DBException.h -----------------------------------*- C++ -*-===//
#ifndef VEMLO_DB_DBEXCEPTION_H
#define VEMLO_DB_DBEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace DB {

/// \brief Thrown when a database operation fails for good (code 0).
///
/// Reports a database failure (code 0).
/// Thrown as a pointer (`throw new DBException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Database.md.
class VEMLO_API DBException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~DBException() override;
};

} // namespace DB
} // namespace Vemlo

#endif // VEMLO_DB_DBEXCEPTION_H
