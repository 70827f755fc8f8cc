// The property pages a step offers: a host collection with one entry per
// page, in display order, each the page's identifier.
#pragma once

#include "runtime/Interfaces.h"
#include "runtime/TableView.h"

struct PageDeclaration {
    const wchar_t* identifier;  // "UIPropPages.UIParametersPropPage" or the class name alone
    bool named;                 // an empty name, or none
};

// Builds the list into pages; descriptor (may be null) is given to every
// entry. E_POINTER for a null out pointer; E_FAIL when the host cannot make
// the collection, with nothing written.
HRESULT PAGESBuild(TableView<PageDeclaration> pages, const wchar_t* descriptor, INamedCollection** out);
