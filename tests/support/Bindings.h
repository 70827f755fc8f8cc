// Steps set up the way a program editor leaves them (values off their
// defaults, inputs and a parameter bound to monikers), and their descriptors
// and bindings as texts, for comparing a step with the one loaded from it.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "host/HostObject.h"
#include "host/Inputs.h"
#include "host/Variants.h"
#include "parameters/IParametersImpl.h"

// The step's input of that name, from the host's input list; null when the
// step has no input list or no such input.
inline SmartPtr<host::InputParameter> stepInput(IUnknown* step, const wchar_t* name) {
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    auto* list = dynamic_cast<host::InputParameters*>(inputs.get());
    return list ? list->input(name) : nullptr;
}

// A binding to a moniker of that name, with an item name and index.
inline SmartPtr<host::InputParameter> monikerBinding(const std::wstring& monikerName, const std::wstring& itemName,
                                                     int32_t itemIndex, const IID& required = IID_IUnknown) {
    SmartPtr<host::InputParameter> binding = host::make<host::InputParameter>(L"", required, 0);
    binding->put_Object(host::make<host::CollectionMoniker>(monikerName).query<IUnknown>().get());
    binding->put_ItemName(host::makeString(itemName).get());
    binding->put_ItemIndex(itemIndex);
    return binding;
}

// "unbound", or the bound moniker's name (or "an object"), item name and
// index, and the required interface's first bytes.
inline std::wstring bindingText(IUnknown* object) {
    SmartPtr<IInputParameter> binding = queryInterface<IInputParameter>(object);
    if (!binding) return L"not a binding";
    std::wstring text;
    SmartPtr<IUnknown> bound;
    binding->get_Object(bound.put());
    if (auto* moniker = dynamic_cast<host::CollectionMoniker*>(bound.query<ICollectionMoniker>().get())) {
        text = L"moniker '" + moniker->name() + L"'";
    } else {
        text = bound ? L"an object" : L"unbound";
    }
    SmartPtr<IString> itemName;
    if (binding->get_ItemName(itemName.put()) >= 0) text += L" item '" + host::textOf(itemName.get()) + L"'";
    int32_t itemIndex = -1;
    binding->get_ItemIndex(&itemIndex);
    IID required = IID_NULL;
    binding->get_IID(&required);
    uint32_t head = 0;
    std::memcpy(&head, &required, sizeof head);
    wchar_t iid[16];
    std::swprintf(iid, 16, L"%08X", head);
    return text + L" index " + std::to_wstring(itemIndex) + L" iid " + iid;
}

inline std::vector<std::wstring> inputBindings(IUnknown* step) {
    std::vector<std::wstring> result;
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    int32_t count = 0;
    if (inputs) inputs->get_Count(&count);
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IUnknown> item;
        inputs->get_Item(i, item.put());
        result.push_back(bindingText(item.get()));
    }
    return result;
}

// Each parameter's name, flags and descriptor: none, a choice list, or a binding.
inline std::vector<std::wstring> descriptorTexts(IUnknown* step, bool withFlags = true) {
    std::vector<std::wstring> result;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    if (parameters) parameters->get_Count(&count);
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        parameters->get_ItemName(i, name.put());
        std::wstring text = host::textOf(name.get());
        if (withFlags) {
            int32_t flags = 0;
            parameters->get_ItemFlags(i, &flags);
            wchar_t hex[16];
            std::swprintf(hex, 16, L" #%X", static_cast<unsigned>(flags));
            text += hex;
        }
        SmartPtr<IUnknown> descriptor;
        parameters->get_ItemDescriptor(i, descriptor.put());
        if (!descriptor) {
            text += L" none";
        } else if (SmartPtr<IString> choices = descriptor.query<IString>()) {
            text += L" choices '" + host::textOf(choices.get()) + L"'";
        } else {
            text += L" " + bindingText(descriptor.get());
        }
        result.push_back(text);
    }
    return result;
}

// Every parameter off its default (texts with characters a stream must
// escape), every input bound to a moniker of its own, and, when bindOne, the
// first parameter that is neither a choice nor a result bound to a moniker
// through its descriptor.
inline void configureStep(IUnknown* step, bool bindOne) {
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    if (parameters) parameters->get_Count(&count);
    bool bound = !bindOne;
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IVariant> value;
        parameters->get_ItemVariant(i, value.put());
        if (value && value->IsString()) {
            parameters->put_Item(i, host::makeVariant(L"<a & \"b\">\r\n \u00e9 " + std::to_wstring(i)).get());
        } else {
            parameters->put_Item(i, host::makeVariant(int32_t{i % 3 + 1}).get());
        }
        int32_t flags = 0;
        parameters->get_ItemFlags(i, &flags);
        if (!bound && (flags & (PARAMETER_CHOICES | PARAMETER_RESULT)) == 0) {
            SmartPtr<host::InputParameter> binding = monikerBinding(L"Source", L"Level", 4);
            parameters->put_ItemDescriptor(i, static_cast<IInputParameter*>(binding.get()));
            bound = true;
        }
    }
    SmartPtr<IInputParameters> inputs = queryInterface<IInputParameters>(step);
    int32_t inputCount = 0;
    if (inputs) inputs->get_Count(&inputCount);
    for (int32_t i = 0; i < inputCount; ++i) {
        SmartPtr<IUnknown> item;
        inputs->get_Item(i, item.put());
        SmartPtr<IInputParameter> binding = item.query<IInputParameter>();
        binding->put_Object(host::make<host::CollectionMoniker>(L"View" + std::to_wstring(i)).query<IUnknown>().get());
        binding->put_ItemName(host::makeString(L"Item").get());
        binding->put_ItemIndex(i + 2);
    }
}

// The host's binding of the step's input with that name, for a test to bind
// directly, or null.
inline SmartPtr<host::InputParameter> inputNamed(IUnknown* step, const std::wstring& name) {
    return stepInput(step, name.c_str());
}

// A step as a test drives it: run through IStep, its parameters set and read
// by index or by name, and the host's binding of one of its inputs, bound directly.
struct DrivenStep {
    DrivenStep(SmartPtr<IStep> made, const std::wstring& inputName)
        : step(std::move(made)), parameters(step.query<IParameters>()), input(inputNamed(step.get(), inputName)) {}

    int32_t index(const wchar_t* name) const {
        int32_t found = -1;
        EXPECT_EQ(parameters->get_Index(host::makeString(name).get(), &found), S_OK) << host::narrow(name);
        return found;
    }
    HRESULT set(int32_t index, IUnknown* value) const { return parameters->put_Item(index, value); }
    HRESULT set(const wchar_t* name, IUnknown* value) const { return set(index(name), value); }
    SmartPtr<IVariant> value(const wchar_t* name) const { return value(index(name)); }
    SmartPtr<IVariant> value(int32_t index) const {
        SmartPtr<IVariant> variant;
        parameters->get_ItemVariant(index, variant.put());
        return variant;
    }

    SmartPtr<IStep> step;
    SmartPtr<IParameters> parameters;
    SmartPtr<host::InputParameter> input;
};

inline DrivenStep driven(SmartPtr<IStep> step, const wchar_t* inputName) {
    return DrivenStep(std::move(step), inputName);
}
