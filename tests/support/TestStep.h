// The base of the tests' own step classes: a step with no property pages
// and, unless a class says otherwise, nothing to do when run.
#pragma once

#include "steps/StepBase.h"

template <class T, class ParametersInterface, template <class, class, class> class Execution, class... Extra>
class TestStep : public StepBase<T, ParametersInterface, Execution, Extra...> {
public:
    static constexpr StepTables kTables{};

    // Most of the tests' classes are never run; those that are define their own.
    HRESULT Execute(CStopEvent*) { return E_NOTIMPL; }

    HRESULT GetPages(int32_t, INamedCollection** pages, IUnknown**) override {
        if (pages) *pages = nullptr;
        return E_NOTIMPL;
    }
};
