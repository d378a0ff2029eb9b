//===- Vemlo/Data/BoxCollect/ReqBox.h - Request payload ---------*- C++ -*-===//
#ifndef VEMLO_DATA_BOXCOLLECT_REQBOX_H
#define VEMLO_DATA_BOXCOLLECT_REQBOX_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/BoxCollect/Box.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

/// \brief The Box an application fills for a request, with a service and a command text.
///
/// ReqBox is the Box an application fills for a request. It carries two texts
/// beside the entries, the service and the command the request is meant for,
/// both empty after construction; the library itself does not read them, and
/// subclasses set and read them directly.
///
/// Copying shares the entries as Box does (see Box.h) and copies the two texts;
/// assignment copies the two texts only and leaves the entries as they are.
/// Details: docs/Collections.md.
class VEMLO_API ReqBox : public Box {
public:
    /// No entries; both texts empty.
    ReqBox();
    /// Shares the entries (see Box) and copies the two texts.
    ReqBox(const ReqBox& other) = default;
    /// Copies the two texts only; the entries stay as they are.
    ReqBox& operator=(const ReqBox& other) = default;

    ~ReqBox() override;

protected:
    // Field order is the object's binary layout.
    String m_sService; ///< The service the request is meant for; empty at first.
    String m_sCommand; ///< The command the request is meant for; empty at first.
};

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_BOXCOLLECT_REQBOX_H
