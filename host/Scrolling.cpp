#include "host/Scrolling.h"

#include <cmath>
#include <cstdio>
#include <cwchar>

namespace host {

namespace {

std::string numberText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

// A decimal attribute (`value` stays when it is absent); false with `error` when it
// is not a finite number.
bool numberAttribute(const ProgramObject& object, const char* attribute, double& value, std::string& error) {
    const std::wstring* text = object.attribute(attribute);
    if (!text) return true;
    wchar_t* end = nullptr;
    const double parsed = text->empty() ? 0.0 : std::wcstod(text->c_str(), &end);
    if (text->empty() || *end != L'\0' || !std::isfinite(parsed)) {
        error = programError(object.line, std::string(attribute) + "=\"" + shown(narrow(*text)) + "\" is not a number");
        return false;
    }
    value = parsed;
    return true;
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

SmartPtr<IUnknown> makeScrollable(const ProgramObject& object, SuperCollection*, std::string& error) {
    SmartPtr<ScrollableObject> scrollable = make<ScrollableObject>(narrow(object.name));
    const char* const positions[ScrollableObject::kAxes] = {"pos0", "pos1"};
    const char* const pageSizes[ScrollableObject::kAxes] = {"page0", "page1"};
    for (int16_t axis = 0; axis < ScrollableObject::kAxes; ++axis) {
        double position = 0.0;
        double pageSize = 0.0;
        if (!numberAttribute(object, positions[axis], position, error) ||
            !numberAttribute(object, pageSizes[axis], pageSize, error)) {
            return nullptr;
        }
        scrollable->scrollTo(axis, position, pageSize);
    }
    return scrollable.query<IUnknown>();
}

}  // namespace host
