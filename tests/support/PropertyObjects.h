// Objects with properties for the property steps' tests: a camera whose
// class has a section of names in the host's string table, and the text of
// a step's parameters.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "host/Properties.h"
#include "host/Variants.h"
#include "runtime/Interfaces.h"
#include "support/Bindings.h"
#include "support/HostTest.h"

using Face = host::PropertyObject::Face;

inline int32_t floatBits(float value) {
    int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline host::PropertyObject::Property property(int32_t kind, int32_t bits, const wchar_t* choices = L"") {
    host::PropertyObject::Property made;
    made.kind = kind;
    made.bits = bits;
    made.choices = choices;
    return made;
}

inline host::PropertyObject::Property objectProperty(int32_t kind, IUnknown* object) {
    host::PropertyObject::Property made;
    made.kind = kind;
    made.object = object;
    made.extendedOnly = true;
    return made;
}

// "Camera" (class Camera): 100 Exposure (3, 20), 101 Mode (0x43, 1, with
// choices), 102 Gain (4, 2.5).
inline SmartPtr<host::PropertyObject> camera(uint32_t faces = Face::kInterrogate | Face::kExtended,
                                             const char* label = "Camera") {
    SmartPtr<host::PropertyObject> made = host::make<host::PropertyObject>(label, L"Camera", faces);
    made->setRange(100, 102);
    made->setProperty(100, property(3, 20));
    made->setProperty(101, property(0x43, 1, L"Auto;Manual"));
    made->setProperty(102, property(4, floatBits(2.5f)));
    return made;
}

// The host's string table, as the global collection holds it.
inline SmartPtr<host::StringTable> stringTable(IComponentCollection* components) {
    SmartPtr<IUnknown> found;
    components->GetComponent(11, L"StringTable", nullptr, found.put_void());
    return SmartPtr<host::StringTable>(dynamic_cast<host::StringTable*>(found.query<IStringTable>().get()));
}

inline void nameCameraProperties(host::StringTable* table) {
    table->addName(L"Camera", L"100", L"Exposure");
    table->addName(L"Camera", L"101", L"Mode");
    table->addName(L"Camera", L"102", L"Gain");
}

// Each parameter as "name=value flags descriptor".
inline std::vector<std::string> parameterLines(IUnknown* step) {
    std::vector<std::string> lines;
    SmartPtr<IParameters> parameters = queryInterface<IParameters>(step);
    int32_t count = 0;
    parameters->get_Count(&count);
    for (int32_t i = 0; i < count; ++i) {
        SmartPtr<IString> name;
        SmartPtr<IVariant> value;
        SmartPtr<IUnknown> descriptor;
        int32_t flags = 0;
        parameters->Iterate(i, name.put(), value.put(), descriptor.put(), &flags);
        char hex[16];
        std::snprintf(hex, sizeof hex, " 0x%X", static_cast<unsigned>(flags));
        std::string line = host::narrow(host::textOf(name.get())) + "=" + host::valueText(value.get()) + hex;
        if (descriptor) line += " " + host::valueText(descriptor.get());
        lines.push_back(line);
    }
    return lines;
}

// A property step bound through its "UIParametric" input, with the camera's
// names in the host's string table.
class PropertyStepTest : public HostTest {
protected:
    void setUpStep(const wchar_t* registeredName) {
        HostTest::SetUp();
        table = stringTable(components.get());
        ASSERT_NE(table, nullptr);
        nameCameraProperties(table.get());
        step = driven(createStep<IStep>(registeredName), L"UIParametric");
        ASSERT_NE(step.input, nullptr);
    }
    void TearDown() override {
        step = DrivenStep(nullptr, L"");
        table = nullptr;
        HostTest::TearDown();
    }

    SmartPtr<host::StringTable> table;
    DrivenStep step{nullptr, L""};
};
