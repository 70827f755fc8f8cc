// The property pages every step names, in display order.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "host/ClassFactory.h"
#include "host/Collections.h"
#include "host/Variants.h"
#include "support/HostTest.h"

namespace {

struct Page {
    std::wstring identifier;
    bool named;  // an empty name, or none at all
    std::wstring descriptor;

    bool operator==(const Page& other) const {
        return identifier == other.identifier && named == other.named && descriptor == other.descriptor;
    }
};

std::ostream& operator<<(std::ostream& out, const Page& page) {
    return out << host::narrow(page.identifier) << (page.named ? " named" : " unnamed") << " '"
               << host::narrow(page.descriptor) << "'";
}

const std::wstring kLongParameters = L"UIPropPages.UIParametersPropPage";
const std::wstring kLongInputs = L"UIPropPages.UIInputParametersPropPage";
const std::wstring kShortParameters = L"UIParametersPropPage";
const std::wstring kShortInputs = L"UIInputParametersPropPage";

const std::map<std::wstring, std::vector<Page>> kPagesByStep = {
    {L"GCUIVerb", {{kLongInputs, false, L"GCUIVerb"}, {L"UIPropPages.UIParametricObjectPropPage", false, L"GCUIVerb"}}},
    {L"GCTabSelect", {{kLongInputs, true, L""}, {kShortParameters, true, L""}}},
    {L"GCTabGetSelected", {{kShortInputs, true, L""}, {kShortParameters, true, L""}}},
    {L"GCUIMessage", {{kLongParameters, true, L""}}},
    {L"GCUIScroll", {{kShortInputs, true, L""}, {kShortParameters, true, L""}}},
    {L"GCUIRefresh", {{kLongInputs, true, L""}, {kLongParameters, true, L""}}},
    {L"GCUIPropRead", {{kLongInputs, true, L""}, {kLongParameters, true, L""}}},
    {L"GCUIPropWrite", {{kLongInputs, true, L""}, {kLongParameters, true, L""}}},
    {L"GCUIPointer", {{kLongParameters, true, L""}}},
    {L"GCUIInput", {{kLongParameters, true, L""}}},
    {L"GCUIEdit", {{kLongInputs, true, L""}, {kLongParameters, true, L""}}},
    {L"GCUIConfirm", {{kShortParameters, false, L""}}},
    {L"GCUIButtonSelect", {{kLongInputs, true, L""}, {kShortParameters, false, L""}}},
    {L"GCUIActivate", {{kLongInputs, true, L""}, {kLongParameters, true, L""}}},
};

std::vector<Page> pagesOf(IUIPropertyPageSpecify* step, int32_t argument) {
    SmartPtr<INamedCollection> list;
    IUnknown* untouched = reinterpret_cast<IUnknown*>(0x5);
    IUnknown* third = untouched;
    EXPECT_EQ(step->GetPages(argument, list.put(), &third), S_OK);
    EXPECT_EQ(third, untouched) << "the third argument is not written";
    std::vector<Page> pages;
    auto* collection = dynamic_cast<host::SuperCollection*>(list.get());
    if (!collection) return pages;
    for (const auto& entry : collection->entries()) {
        EXPECT_EQ(entry.flags, 0);
        EXPECT_TRUE(!entry.hasName || entry.name.empty()) << "a name is always empty";
        pages.push_back({host::textOf(entry.item.query<IString>().get()), entry.hasName,
                         host::textOf(entry.descriptor.query<IString>().get())});
    }
    return pages;
}

}  // namespace

using PropertyPages = HostTest;

TEST_F(PropertyPages, EveryStepNamesItsPagesInOrder) {
    ASSERT_EQ(kPagesByStep.size(), 14u);
    for (const wchar_t* registered : kRegisteredNames) {
        SmartPtr<IUIPropertyPageSpecify> step = createStep<IUIPropertyPageSpecify>(registered);
        ASSERT_TRUE(step);
        for (int32_t argument : {0, 1, -1, 0x7fffffff}) {
            EXPECT_EQ(pagesOf(step.get(), argument), kPagesByStep.at(registered))
                << host::narrow(registered) << " with " << argument;
        }
    }
}

TEST_F(PropertyPages, NothingIsWrittenWhenTheListCannotBeMade) {
    SmartPtr<IUIPropertyPageSpecify> step = createStep<IUIPropertyPageSpecify>(L"GCUIRefresh");
    EXPECT_EQ(step->GetPages(0, nullptr, nullptr), E_POINTER);

    // The collection factory is found on first use; a class that cannot be made fails.
    SmartPtr<INamedCollection> list;
    ASSERT_EQ(step->GetPages(0, list.put(), nullptr), S_OK);
    host::ClassRegistry::add(L"SuperCollection", [] { return SmartPtr<IUnknown>(); });
    INamedCollection* marker = reinterpret_cast<INamedCollection*>(0x9);
    INamedCollection* out = marker;
    EXPECT_EQ(step->GetPages(0, &out, nullptr), E_FAIL);
    EXPECT_EQ(out, marker);
    host::ClassRegistry::add(L"SuperCollection",
                             [] { return SmartPtr<IUnknown>(host::make<host::SuperCollection>()); });
}
