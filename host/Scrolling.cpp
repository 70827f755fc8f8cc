#include "host/Scrolling.h"

#include <cstdio>

namespace host {

namespace {

std::string numberText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

}  // namespace

HRESULT ScrollableObject::get_Scroll(int16_t axis, double* position, double* pageSize) {
    if (!known(axis)) {
        if (Recorder::enabled()) record("get_Scroll(" + std::to_string(axis) + ") refused: no such axis");
        return E_INVALIDARG;
    }
    if (!position || !pageSize) return E_POINTER;
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        *position = m_Position[axis];
        *pageSize = m_PageSize[axis];
    }
    if (Recorder::enabled()) {
        record("get_Scroll(" + std::to_string(axis) + ") -> " + numberText(*position) + ", " + numberText(*pageSize));
    }
    return S_OK;
}

HRESULT ScrollableObject::put_Scroll(int16_t axis, double position, double pageSize) {
    if (Recorder::enabled()) {
        record("put_Scroll(" + std::to_string(axis) + ", " + numberText(position) + ", " + numberText(pageSize) + ")" +
               (known(axis) ? "" : " refused: no such axis"));
    }
    if (!known(axis)) return E_INVALIDARG;
    scrollTo(axis, position, pageSize);
    return S_OK;
}

void ScrollableObject::scrollTo(int16_t axis, double position, double pageSize) {
    if (!known(axis)) return;
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Position[axis] = position;
    m_PageSize[axis] = pageSize;
}

double ScrollableObject::position(int16_t axis) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return known(axis) ? m_Position[axis] : 0.0;
}

double ScrollableObject::pageSize(int16_t axis) const {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return known(axis) ? m_PageSize[axis] : 0.0;
}

}  // namespace host
