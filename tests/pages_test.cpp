// The property pages every step names, whatever it is asked.
#include <gtest/gtest.h>

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

// Which pages, in which order, with or without a name and for which
// descriptor, is docs/steps.md's (describe asks with 0); any other argument
// gives the same list.
TEST_F(PropertyPages, EveryStepNamesTheSamePagesWhateverItIsAsked) {
    for (const wchar_t* registered : kRegisteredNames) {
        SmartPtr<IUIPropertyPageSpecify> step = createStep<IUIPropertyPageSpecify>(registered);
        ASSERT_TRUE(step);
        const std::vector<Page> pages = pagesOf(step.get(), 0);
        EXPECT_FALSE(pages.empty());
        for (int32_t argument : {1, -1, 0x7fffffff}) {
            EXPECT_EQ(pagesOf(step.get(), argument), pages) << host::narrow(registered) << " with " << argument;
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
