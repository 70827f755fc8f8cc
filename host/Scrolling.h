// A scrollable view of the simulated host (a list, an image, a text): a
// scroll position and a page size on each of its two axes, recorded as they
// are read and set.
#pragma once

#include <mutex>
#include <string>

#include "host/HostObject.h"

namespace host {

class ScrollableObject final : public Object<ScrollableObject, IUIScrollableObject> {
public:
    static constexpr char kLedgerName[] = "ScrollableObject";
    using Answered = Answers<IUIScrollableObject>;
    // Axis 0 is horizontal, 1 vertical; any other axis is refused
    // (E_INVALIDARG) and nothing is written.
    static constexpr int16_t kAxes = 2;

    explicit ScrollableObject(std::string label = "Scrollable") { setLabel(std::move(label)); }

    HRESULT get_Scroll(int16_t axis, double* position, double* pageSize) override;
    HRESULT put_Scroll(int16_t axis, double position, double pageSize) override;

    // Sets an axis without recording it, as the user scrolling would.
    void scrollTo(int16_t axis, double position, double pageSize);
    double position(int16_t axis) const;
    double pageSize(int16_t axis) const;

private:
    static bool known(int16_t axis) { return axis >= 0 && axis < kAxes; }

    mutable std::mutex m_Mutex;
    double m_Position[kAxes] = {0.0, 0.0};
    double m_PageSize[kAxes] = {0.0, 0.0};
};

}  // namespace host
