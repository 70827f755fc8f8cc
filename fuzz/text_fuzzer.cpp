// The text toolkit on arbitrary views: every parsing operation of CREFString
// applied in the order the input chooses to a view over an exact-size buffer
// (so that a read past the view is caught), the number readers and value
// factories on what the view holds, the property-name helpers, and the
// typed readers the steps' toolkit is built on.
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzHost.h"
#include "host/Collections.h"
#include "host/CsvStream.h"
#include "host/Variants.h"
#include "parameters/ParameterCollection.h"
#include "runtime/CREFString.h"
#include "runtime/PropertyNames.h"
#include "runtime/Values.h"

namespace {

// A buffer of exactly the text's characters, without a terminator.
struct Buffer {
    explicit Buffer(const std::wstring& text)
        : length(static_cast<int32_t>(text.size())), chars(new wchar_t[text.size()]) {
        std::copy(text.begin(), text.end(), chars.get());
    }
    int32_t length;
    std::unique_ptr<wchar_t[]> chars;
};

// A view the toolkit hands back must lie inside the buffer it was cut from.
void checkInside(const tagREFString& view, const Buffer& buffer, const char* what) {
    if (view.count <= 0 || !view.text) return;
    const wchar_t* begin = buffer.chars.get();
    if (view.text < begin || view.text + view.count > begin + buffer.length) {
        std::fprintf(stderr, "fuzz: %s gave a view outside its text\n", what);
        std::abort();
    }
}

// A position result must be a place in the text.
void checkPosition(HRESULT result, int32_t length, const char* what) {
    if (result > 1 && result >= length + 1) {
        std::fprintf(stderr, "fuzz: %s gave position %d in a text of %d\n", what, static_cast<int>(result),
                     static_cast<int>(length));
        std::abort();
    }
}

void viewOperations(fuzz::Reader& in) {
    const std::wstring subject = in.text();
    Buffer buffer(subject);
    CREFString whole(buffer.chars.get(), buffer.length);
    CREFString view = whole;
    if (in.byte() == 0xA5) view = CREFString(nullptr, buffer.length);  // a count without characters

    CREFString last;
    for (int step = 0; step < 48 && !in.done(); ++step) {
        const uint8_t op = in.byte();
        const bool a = (op & 0x20) != 0;
        const bool b = (op & 0x40) != 0;
        const bool c = (op & 0x80) != 0;
        CREFString out;
        CREFString other;
        HRESULT result = 0;
        const int32_t length = view.empty() ? 0 : view.count;
        switch (op & 0x1F) {
            case 0:
                result = view.GetLine(c ? nullptr : &out, a, in.character(), b);
                break;
            case 1:
                result = view.GetLineCRLF(c ? nullptr : &out, a, b);
                break;
            case 2:
                result = view.GetReverseLine(c ? nullptr : &out, in.character(), a, b);
                break;
            case 3:
                result = view.GetLineRight(&out, in.character(), a, b, c);
                break;
            case 4:
                result = view.Crop(c ? nullptr : &out, in.character(), a, b);
                break;
            case 5: {
                const std::wstring separators = in.text(8);
                result = view.Split(&out, &other,
                                    CREFString(separators.data(), static_cast<int32_t>(separators.size())), a ? 1 : 0);
                break;
            }
            case 6:
                result = view.GetFirstWord(c ? nullptr : &out, a);
                break;
            case 7: {
                const std::wstring separators = in.text(8);
                result = view.GetWord(&out, a, CREFString(separators.data(), static_cast<int32_t>(separators.size())));
                checkPosition(result, length, "GetWord");
                break;
            }
            case 8: {
                const std::wstring needle = in.text(16);
                Buffer exact(needle);
                result = view.Contains(CREFString(exact.chars.get(), exact.length));
                checkPosition(result, length, "Contains");
                break;
            }
            case 9: {
                const std::wstring set = in.text(8);
                Buffer exact(set);
                result = view.ContainsChar(CREFString(exact.chars.get(), exact.length));
                checkPosition(result, length, "ContainsChar");
                break;
            }
            case 10: {
                const std::wstring compared = in.text(32);
                Buffer exact(compared);
                result = view.CompareI(CREFString(exact.chars.get(), exact.length), a ? 1 : 0);
                break;
            }
            case 11: {
                _IS2Integer(view, static_cast<int32_t>(static_cast<int8_t>(in.byte())));
                SmartPtr<IString> string = ISCreate(static_cast<const tagREFString&>(view));
                PROPParseId(string.get());
                break;
            }
            case 12: {
                CREFString copy = view;
                SmartPtr<IVariant> value = IVCreateConvert(copy);
                checkInside(copy, buffer, "IVCreateConvert");
                ISCreate(value.get());
                ISCreate(value.get(), in.int16());
                break;
            }
            case 13:
                ISSkipLeadingJunk(view);
                break;
            case 14: {
                const uint8_t bytes = in.byte();
                std::string utf8;
                for (uint8_t i = 0; i < bytes && !in.done(); ++i) utf8 += static_cast<char>(in.byte());
                SmartPtr<IString> made = ISCreate(utf8.data(), static_cast<int32_t>(utf8.size()));
                CREFString madeView(made.get());
                SmartPtr<IVariant> value = IVCreateConvert(madeView);
                ISCreate(value.get(), in.int16());
                break;
            }
            case 15: {
                const uint32_t number = static_cast<uint32_t>(in.int32());
                ISCreateHex(number);
                ISCreateColor(number);
                ISCreate(static_cast<int32_t>(number));
                SmartPtr<IVariant> real = CREFString::CreateVariant();
                if (real) {
                    real->put_Double(in.real());
                    ISCreate(real.get(), in.int16());
                    ISCreate(real.get());
                }
                break;
            }
            case 16:
                view = whole;
                break;
            case 17:
                view = last;
                break;
            default: {
                // A view of the text from the string the host makes of it.
                SmartPtr<IString> string = ISCreate(static_cast<const tagREFString&>(view));
                CREFString again(string.get());
                again.GetFirstWord(&out, true);
                continue;
            }
        }
        (void)result;
        checkInside(view, buffer, "the consumed view");
        checkInside(out, buffer, "an out view");
        checkInside(other, buffer, "a right view");
        if (!out.empty()) last = out;
    }
}

// Property names: a section of items (strings, numbers, nothing) looked up
// by display name and by id.
void propertyNames(fuzz::Reader& in) {
    SmartPtr<host::SuperCollection> section = host::make<host::SuperCollection>();
    const int items = in.byte() % 12;
    for (int i = 0; i < items; ++i) {
        const std::wstring name = in.text(24);
        const uint8_t kind = in.byte();
        SmartPtr<IString> itemName = kind & 0x10 ? nullptr : host::makeString(name);
        if (kind % 3 == 0) {
            section->Add(itemName.get(), host::makeString(in.text(24)).query<IUnknown>().get(), nullptr, 0);
        } else if (kind % 3 == 1) {
            section->Add(itemName.get(), host::makeVariant(in.int32()).query<IUnknown>().get(), nullptr, 0);
        } else {
            section->Add(itemName.get(), nullptr, nullptr, 0);
        }
    }
    SmartPtr<INamedCollection> named = section.query<INamedCollection>();
    const std::wstring wanted = in.text(24);
    const int32_t index = PROPFindName(named.get(), in.flag() ? nullptr : host::makeString(wanted).get());
    SmartPtr<IString> idText;
    named->get_ItemName(index, idText.put());
    const int32_t id = PROPParseId(idText.get());
    PROPDisplayName(named.get(), id);
    PROPDisplayName(named.get(), in.int32());
}

// The typed readers and the operations the steps' parameters answer with.
void parameterReaders(fuzz::Reader& in) {
    ParameterCollection parameters(nullptr, false);
    const int count = in.byte() % 10;
    for (int i = 0; i < count; ++i) {
        const std::wstring name = in.text(16);
        std::wstring valueText = in.text(32);
        CREFString valueView(valueText.data(), static_cast<int32_t>(valueText.size()));
        SmartPtr<IVariant> value = IVCreateConvert(valueView);
        SmartPtr<IString> nameString = in.flag() ? nullptr : host::makeString(name);
        switch (in.byte() % 4) {
            case 0:
                parameters.Add(nameString.get(), value.query<IUnknown>().get(), nullptr, in.int32());
                break;
            case 1:
                parameters.Add(nameString.get(), host::makeString(valueText).query<IUnknown>().get(), nullptr, 0);
                break;
            case 2:
                parameters.Add(nameString.get(), nullptr, nullptr, 0);
                break;
            default:
                parameters.Set(nameString.query<IUnknown>().get(), value.query<IUnknown>().get(), nullptr, in.int32(),
                               in.int16());
                break;
        }
    }
    for (int step = 0; step < 24 && !in.done(); ++step) {
        const uint8_t op = in.byte();
        const int32_t index = static_cast<int32_t>(static_cast<int8_t>(in.byte()));
        switch (op % 10) {
            case 0:
                parameters.readInteger(index, in.int32());
                break;
            case 1:
                parameters.readDouble(index, in.real());
                break;
            case 2: {
                const std::wstring fallback = in.text(8);
                parameters.readText(index, in.flag() ? nullptr : fallback.c_str());
                break;
            }
            case 3:
                parameters.writeInteger(index, in.int32());
                break;
            case 4:
                parameters.writeDouble(index, in.real());
                break;
            case 5:
                parameters.writeText(index, in.text(16).c_str());
                break;
            case 6:
                parameters.Rename(index, host::makeString(in.text(16)).get());
                break;
            case 7:
                parameters.Sort(in.byte());
                break;
            case 8:
                parameters.Remove(index);
                break;
            default: {
                SmartPtr<host::CsvStream> csv = host::make<host::CsvStream>();
                parameters.Params_SaveCSV(csv.get(), in.flag() ? 0x10000 : 0);
                break;
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::HostScope scope;
    fuzz::Reader in(data, size);
    const uint8_t parts = in.byte();
    if (parts & 1) viewOperations(in);
    if (parts & 2) propertyNames(in);
    if (parts & 4) parameterReaders(in);
    return 0;
}
