// The base of the tests' own step classes: a step with no property pages.
#pragma once

#include "steps/StepBase.h"

template <class T, class ParametersInterface, template <class, class, class> class Execution, class... Extra>
class TestStep : public StepBase<T, ParametersInterface, Execution, Extra...> {
public:
    static constexpr StepTables kTables{};

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        if (pages) *pages = nullptr;
        return E_NOTIMPL;
    }
};
