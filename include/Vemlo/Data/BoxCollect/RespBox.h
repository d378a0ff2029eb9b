//===- Vemlo/Data/BoxCollect/RespBox.h - Response payload -------*- C++ -*-===//
#ifndef VEMLO_DATA_BOXCOLLECT_RESPBOX_H
#define VEMLO_DATA_BOXCOLLECT_RESPBOX_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/BoxCollect/Box.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

/// \brief The Box that carries a response, with a result text.
///
/// RespBox is the Box that carries a response: its entries plus a result text,
/// empty after construction. Copying shares the entries as Box does (see
/// Box.h) and copies the result text; assignment copies the result text only
/// and leaves the entries as they are.
/// Details: docs/Collections.md.
class VEMLO_API RespBox : public Box {
public:
    /// No entries, empty result.
    RespBox();
    /// Shares the entries (see Box) and copies the result text.
    RespBox(const RespBox& other) = default;
    /// Copies the result text only; the entries stay as they are.
    RespBox& operator=(const RespBox& other) = default;

    ~RespBox() override;

    /// The result text (never null).
    const char* GetResult();

    /// Replaces the result with a copy of `result`; null gives the empty text.
    void SetResult(const char* result);

private:
    // Field order is the object's binary layout.
    String m_sResult;
};

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_BOXCOLLECT_RESPBOX_H
