// CREFString: a non-owning counted view over wide text, with the parsing
// operations steps use to cut names, paths, lists and numbers apart, and the
// factories that make every host string, variant and collection.
//
// A view borrows its characters; copying it copies the count and pointer.
// Operations that consume move the pointer forward and reduce the count; the
// characters are never changed. An out view may be null: the result is then
// computed without being stored.
#pragma once

#include <cstdint>

#include "runtime/Interfaces.h"
#include "runtime/SmartPtr.h"

class CREFString : public tagREFString {
public:
    CREFString() : tagREFString{0, nullptr} {}
    CREFString(const tagREFString& text) : tagREFString(text) {}
    CREFString(const wchar_t* text, int32_t length) : tagREFString{length, text} {}
    // A view of a terminated text (null: empty).
    explicit CREFString(const wchar_t* text);
    // A view of a host object's text (its IString); empty when it has none.
    // The object keeps the characters: it must outlive the view.
    explicit CREFString(IUnknown* object);

    bool empty() const { return count <= 0 || text == nullptr; }

    // Results: 0, 1 (consumed and now empty), E_FAIL, or a position.
    HRESULT GetLine(CREFString* line, bool consume, wchar_t separator, bool dropSeparator);
    HRESULT GetLineCRLF(CREFString* line, bool withoutBreak, bool consume);
    HRESULT GetReverseLine(CREFString* head, wchar_t separator, bool cut, bool dropSeparator);
    HRESULT GetLineRight(CREFString* tail, wchar_t separator, bool cut, bool dropSeparator, bool wholeIfMissing);
    HRESULT Crop(CREFString* tail, wchar_t separator, bool cut, bool dropSeparator);
    HRESULT Split(CREFString* left, CREFString* right, const CREFString& separators, int32_t controlSplits) const;
    HRESULT GetFirstWord(CREFString* word, bool consume);
    HRESULT GetWord(CREFString* word, bool consume, const tagREFString& separators);
    HRESULT Contains(const tagREFString& needle) const;
    HRESULT ContainsChar(const tagREFString& set) const;
    HRESULT CompareI(const tagREFString& other, int16_t whole) const;

    // The cached host factories: a new empty host string, variant or
    // collection, or null when the host cannot make one (tried again on the
    // next call).
    static SmartPtr<IString> CreateString();
    static SmartPtr<IVariant> CreateVariant();
    static SmartPtr<ISuperCollection> CreateCollection();
};
