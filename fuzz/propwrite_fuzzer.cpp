// The property steps' name and id handling: a string table whose sections
// hold any item names (ids as text, or not) and display names, an object of
// any class answering any of its faces with properties of any id and kind,
// and a Property write step whose parameters have any names and values,
// bound to the object directly or through an entity; then, as the input
// says, a Property read step on the same object.
#include <string>

#include "fuzz/FuzzHost.h"
#include "host/Collections.h"
#include "host/Properties.h"
#include "host/Variants.h"
#include "runtime/Values.h"
#include "support/Bindings.h"

namespace {

SmartPtr<IStep> createStep(const wchar_t* name) {
    CREATEFUNCTION creator = nullptr;
    if (CreateFunction(tagREFString{static_cast<int32_t>(std::wcslen(name)), name}, &creator) != S_OK || !creator) {
        return nullptr;
    }
    SmartPtr<IStep> step;
    creator(nullptr, &iidOf<IStep>(), step.put_void());
    return step;
}

std::wstring classOf(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    if (pick < 0xC0) return L"Camera";
    return in.text(16);
}

int32_t idOf(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    if (pick < 0x80) return 100 + pick % 8;
    return in.int32();
}

// An item name as the table may hold it: a plain id, one with a sign, "#"
// and hexadecimal digits, trailing junk, or any text.
std::wstring idText(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    switch (pick % 4) {
        case 0:
            return std::to_wstring(100 + pick % 8);
        case 1:
            return (pick & 0x10 ? L"#" : (pick & 0x20 ? L"-" : L"+")) + in.text(12);
        case 2:
            return std::to_wstring(in.int32()) + in.text(4);
        default:
            return in.text(24);
    }
}

SmartPtr<IUnknown> valueOf(fuzz::Reader& in) {
    const uint8_t pick = in.byte();
    switch (pick % 5) {
        case 0:
            return host::makeVariant(in.int32()).query<IUnknown>();
        case 1:
            return host::makeVariant(in.real()).query<IUnknown>();
        case 2:
            return host::makeString(in.text(32)).query<IUnknown>();
        case 3: {
            std::wstring text = in.text(32);
            CREFString view(text.data(), static_cast<int32_t>(text.size()));
            return IVCreateConvert(view).query<IUnknown>();
        }
        default:
            return host::make<host::PropertyObject>("Other", in.text(8), host::PropertyObject::kRenderable)
                .query<IUnknown>();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 8 * 1024) return 0;
    fuzz::HostScope scope;
    fuzz::Reader in(data, size);

    SmartPtr<IUnknown> found;
    scope.components->GetComponent(11, L"StringTable", nullptr, found.put_void());
    SmartPtr<host::StringTable> table(dynamic_cast<host::StringTable*>(found.query<IStringTable>().get()));
    if (!table) std::abort();

    const uint32_t faces = in.byte() & 0x1F;
    SmartPtr<host::PropertyObject> object = host::make<host::PropertyObject>("Target", classOf(in), faces);
    object->setRange(in.int16(), in.int16());
    for (int i = 0, n = in.byte() % 8; i < n; ++i) {
        host::PropertyObject::Property property;
        const int32_t id = idOf(in);
        property.kind = in.byte() | (in.flag() ? 0x40 : 0);
        property.bits = in.int32();
        property.choices = in.text(16);
        if ((property.kind & 0x0F) == 7) {
            property.object = host::make<host::PropertyObject>("Old", L"View", in.byte() & 0x1F).query<IUnknown>();
            property.extendedOnly = in.flag();
        }
        object->setProperty(id, property);
    }
    for (int i = 0, n = in.byte() % 12; i < n; ++i) {
        const std::wstring className = classOf(in);
        const std::wstring id = idText(in);
        table->addName(className, id, in.text(24));
    }
    if (in.flag()) {
        // Items that are not display names.
        table->section(L"Camera")->Add(host::makeString(idText(in)).get(), valueOf(in).get(), nullptr, 0);
    }
    for (int i = 0, n = in.byte() % 4; i < n; ++i) {
        const std::wstring name = in.text(16);
        object->addParameter(name, host::makeVariant(in.int32()));
    }

    DrivenStep write(createStep(L"GCUIPropWrite"), L"UIParametric");
    if (!write.step || !write.input) std::abort();
    SmartPtr<IParametersCreatable> creatable = write.step.query<IParametersCreatable>();
    for (int i = 0, n = in.byte() % 12; i < n; ++i) {
        const uint8_t pick = in.byte();
        SmartPtr<IString> name = pick == 0xFF ? nullptr : host::makeString(in.text(24));
        creatable->Add(name.get(), valueOf(in).get(), nullptr, 0);
    }
    const uint8_t binding = in.byte();
    SmartPtr<IUnknown> bound = object.query<IUnknown>();
    if (binding & 1) bound = host::make<host::RenderableEntity>(bound.get()).query<IUnknown>();
    if (binding & 2) bound = nullptr;
    write.input->put_Object(bound.get());
    write.step->TurnOn();

    if (binding & 4) {
        DrivenStep read(createStep(L"GCUIPropRead"), L"UIParametric");
        if (!read.step || !read.input) std::abort();
        read.input->put_Object(bound.get());
        read.step->TurnOn();
        // What was read written back, as a round trip does.
        SmartPtr<IParametersCreatable> again = write.step.query<IParametersCreatable>();
        again->RemoveAll();
        again->Copy(read.parameters.get());
        write.step->TurnOn();
        read.input->put_Object(nullptr);
    }
    write.input->put_Object(nullptr);
    return 0;
}
