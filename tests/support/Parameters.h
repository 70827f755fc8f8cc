// A step's parameters as "name=value" texts, for comparing steps.
#pragma once

#include <string>
#include <vector>

#include "host/HostObject.h"
#include "parameters/IParametersImpl.h"
#include "runtime/CREFString.h"
#include "runtime/Values.h"

// With skipResults, the parameters flagged as results (which compact saving
// leaves out) are passed over.
inline std::vector<std::wstring> parameterTexts(IUnknown* step, bool skipResults = false) {
    std::vector<std::wstring> result;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    if (parameters) parameters->get_Count(&count);
    for (int32_t i = 0; i < count; ++i) {
        int32_t flags = 0;
        parameters->get_ItemFlags(i, &flags);
        if (skipResults && (flags & PARAMETER_RESULT)) continue;
        SmartPtr<IString> name;
        parameters->get_ItemName(i, name.put());
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        SmartPtr<IString> text = value ? ISCreate(value.get()) : nullptr;
        result.push_back(host::textOf(name.get()) + L"=" + (text ? host::textOf(text.get()) : L""));
    }
    return result;
}
