//===- Vemlo/Data/BoxCollect/ReqBox.h - Request payload ---------*- C++ -*-===//
//
// ReqBox is the Box an application fills for a request. It carries two texts
// beside the entries, the service and the command the request is meant for,
// both empty after construction; the library itself does not read them, and
// subclasses set and read them directly.
//
// Copying shares the entries as Box does (see Box.h) and copies the two texts;
// assignment copies the two texts only and leaves the entries as they are.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_DATA_BOXCOLLECT_REQBOX_H
#define VEMLO_DATA_BOXCOLLECT_REQBOX_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/BoxCollect/Box.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

class VEMLO_API ReqBox : public Box {
public:
    // No entries; both texts empty.
    ReqBox();
    ReqBox(const ReqBox& other) = default;
    ReqBox& operator=(const ReqBox& other) = default;

    ~ReqBox() override;

protected:
    // Field order is the object's binary layout.
    String m_sService;
    String m_sCommand;
};

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_BOXCOLLECT_REQBOX_H
