// Declarations of every interface that crosses the boundary between the module
// and its host: the host's catalogue (only the operations the module calls, in
// the host's slot order) and the interfaces that step objects implement.
//
// Binary rules: only pure virtual functions, no data, no virtual destructor;
// 32-bit integers wherever the system says "long"; inheritance only along the
// chains the host defines (ISimpleCollection <- INamedCollection <- IParameters
// <- IParametersCreatable, INamedCollection <- ISuperCollection, IDataStream <-
// the stream kinds, IString <- ICreatableString).
#pragma once

#include <cstdint>

#include "runtime/Iid.h"
#include "runtime/Types.h"

// Compile-time link from an interface type to its identifier.
template <class I>
struct InterfaceId;

template <class I>
constexpr const IID& iidOf() {
    return InterfaceId<I>::value;
}

#define FLUKO_INTERFACE_ID(Name)                        \
    inline constexpr IID IID_##Name = __IIDOfc(#Name);  \
    template <>                                         \
    struct InterfaceId<Name> {                          \
        static constexpr const IID& value = IID_##Name; \
    }

// ---------------------------------------------------------------------------
// Component model

class IUnknown {
public:
    virtual HRESULT QueryInterface(const IID& iid, void** out) = 0;
    virtual uint32_t AddRef() = 0;
    virtual uint32_t Release() = 0;
};
template <>
struct InterfaceId<IUnknown> {
    static constexpr const IID& value = IID_IUnknown;
};

class IString;
class IVariant;
class INamedCollection;
class IDataStream;
class IUIVerbCollection;
class IParameters;

// ---------------------------------------------------------------------------
// Strings, variants and collections

class IString : public IUnknown {
public:
    virtual HRESULT get_Text(const wchar_t** text, int32_t* length) = 0;
    virtual HRESULT put_Text(int32_t length, const wchar_t* text) = 0;
    virtual HRESULT Append(int32_t length, const wchar_t* text) = 0;
};
FLUKO_INTERFACE_ID(IString);

class ICreatableString : public IString {};
FLUKO_INTERFACE_ID(ICreatableString);

class IVariant : public IUnknown {
public:
    virtual int32_t get_Type() = 0;  // 1 integer, 2 floating point, 0 object, string or none
    virtual double get_Double() = 0;
    virtual int32_t get_Long() = 0;
    virtual HRESULT put_Long(int32_t value) = 0;
    virtual HRESULT put_Double(double value) = 0;
    virtual int32_t IsObject() = 0;
    virtual HRESULT get_Object(IUnknown** out) = 0;
    virtual HRESULT put_Value(IUnknown* value) = 0;
    virtual int32_t IsString() = 0;
    virtual HRESULT get_String(IString** out) = 0;
    virtual HRESULT put_String(IString* value) = 0;
};
FLUKO_INTERFACE_ID(IVariant);

class ISimpleCollection : public IUnknown {
public:
    virtual HRESULT get_Count(int32_t* count) = 0;
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
};
FLUKO_INTERFACE_ID(ISimpleCollection);

class INamedCollection : public ISimpleCollection {
public:
    virtual HRESULT get_Index(IUnknown* key, int32_t* index) = 0;
    virtual HRESULT get_ItemName(int32_t index, IString** out) = 0;
};
FLUKO_INTERFACE_ID(INamedCollection);

class ISuperCollection : public INamedCollection {
public:
    virtual HRESULT Add(IString* name, IUnknown* item, IUnknown* descriptor, int32_t flags) = 0;
};
FLUKO_INTERFACE_ID(ISuperCollection);

// ---------------------------------------------------------------------------
// Components and their paths

class IComponentCollection : public IUnknown {
public:
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT get_Index(IString* name, int32_t* index) = 0;
    // A null iid returns the component as it is.
    virtual HRESULT GetComponent(int32_t nameLength, const wchar_t* name, const IID* iid, void** out) = 0;
};
FLUKO_INTERFACE_ID(IComponentCollection);

class IComponentString : public IUnknown {
public:
    virtual HRESULT SetFromObject(IUnknown* object) = 0;
    virtual HRESULT get_Part(int32_t part, IString** out) = 0;  // 1 class name, 4 module name
    virtual HRESULT CreateInstance(const IID* iid, void** out) = 0;
    virtual HRESULT put_Part(int32_t part, int32_t length, const wchar_t* text) = 0;
};
FLUKO_INTERFACE_ID(IComponentString);

class IStringTable : public IUnknown {
public:
    virtual HRESULT GetSection(IString* section, INamedCollection** out) = 0;
};
FLUKO_INTERFACE_ID(IStringTable);

class IRegistry : public IUnknown {
public:
    virtual HRESULT GetValue(IString* section, IString* key, IString** value) = 0;
    virtual HRESULT get_Section(IString* section, INamedCollection** out) = 0;
};
FLUKO_INTERFACE_ID(IRegistry);

// The buffer holds 178 wide characters; no size is passed.
class IRegistryEx : public IUnknown {
public:
    virtual HRESULT GetString(const wchar_t* section, const wchar_t* key, wchar_t* buffer) = 0;
};
FLUKO_INTERFACE_ID(IRegistryEx);
constexpr int32_t kRegistryStringCapacity = 178;

// ---------------------------------------------------------------------------
// Inputs and bindings

class IInputParameters : public IUnknown {
public:
    virtual HRESULT get_Count(int32_t* count) = 0;
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT AddInput(IString* name, IID iid, int32_t flags) = 0;
    virtual HRESULT get_InputObject(int32_t index, IUnknown** out) = 0;
};
FLUKO_INTERFACE_ID(IInputParameters);

class IInputParameter : public IUnknown {
public:
    virtual HRESULT get_Value(IUnknown** out) = 0;
    virtual HRESULT get_IID(IID* out) = 0;
    virtual HRESULT put_IID(IID iid) = 0;
    virtual HRESULT get_ItemName(IString** out) = 0;
    virtual HRESULT put_ItemName(IString* name) = 0;
    virtual HRESULT get_Object(IUnknown** out) = 0;
    virtual HRESULT put_Object(IUnknown* object) = 0;
    virtual HRESULT get_ItemIndex(int32_t* out) = 0;
    virtual HRESULT put_ItemIndex(int32_t index) = 0;
};
FLUKO_INTERFACE_ID(IInputParameter);

class ICollectionMoniker : public IUnknown {
public:
    virtual HRESULT BindToCollection(INamedCollection* collection, int32_t reserved) = 0;
    virtual HRESULT GetObject(const IID& iid, void** out) = 0;
};
FLUKO_INTERFACE_ID(ICollectionMoniker);

// ---------------------------------------------------------------------------
// Streams and persistence

class IDataStream : public IUnknown {
public:
    virtual HRESULT Write(const void* data, int32_t size, int32_t reserved) = 0;
};
FLUKO_INTERFACE_ID(IDataStream);

class IDataPersist : public IUnknown {
public:
    virtual HRESULT Save(IDataStream* stream, int32_t mode) = 0;
    virtual HRESULT Load(IDataStream* stream, int32_t mode) = 0;
};
FLUKO_INTERFACE_ID(IDataPersist);

class IFolderStream : public IDataStream {
public:
    virtual HRESULT CreateFolder(IString* name, int32_t reserved, IFolderStream** out) = 0;
    virtual HRESULT WriteBinary(IString* name, const void* data, int32_t size, int32_t reserved) = 0;
    virtual HRESULT WriteValue(IString* name, IVariant* value) = 0;
    virtual HRESULT WriteObject(IString* name, IUnknown* object, int32_t reserved) = 0;
    virtual HRESULT WriteScalar(IString* name, const void* value, int32_t kind) = 0;
    virtual HRESULT ReadBinary(IString* name, void* data, int32_t size, int32_t reserved) = 0;
    virtual HRESULT ReadValue(IString* name, IVariant* into) = 0;
    virtual HRESULT ReadObject(IString* name, IUnknown** out, int32_t reserved) = 0;
    virtual HRESULT ReadScalar(IString* name, void* value, int32_t kind) = 0;
};
FLUKO_INTERFACE_ID(IFolderStream);
// WriteScalar and ReadScalar kind of a 32-bit integer.
constexpr int32_t kScalarInteger = 3;

class IXMLStream : public IDataStream {
public:
    virtual HRESULT BeginElement(IString* name, int32_t reserved1, int32_t reserved2) = 0;
    virtual HRESULT BeginObject(IUnknown* object, int32_t reserved1, int32_t reserved2) = 0;
    virtual HRESULT WriteElement(IString* name, int32_t reserved1, IString* text, int32_t reserved2) = 0;
    virtual HRESULT EndElement() = 0;
    virtual HRESULT NextElement(tagREFString* name) = 0;
    virtual HRESULT OpenElement(int32_t length, const wchar_t* name, tagREFString* value, IXMLStream** element,
                                int32_t flags) = 0;
    virtual HRESULT CreateChildObject(IUnknown** out) = 0;
    virtual HRESULT CreateElementObject(int32_t length, const wchar_t* className, IUnknown** out) = 0;
};
FLUKO_INTERFACE_ID(IXMLStream);

class ICSVStream : public IDataStream {};
FLUKO_INTERFACE_ID(ICSVStream);

class IFileArchive : public IUnknown {};
FLUKO_INTERFACE_ID(IFileArchive);

class IWorkspace : public IUnknown {
public:
    virtual HRESULT get_Windows(IUnknown** out) = 0;
    virtual HRESULT get_Area(int32_t rect[4]) = 0;  // left, top, width, height
};
FLUKO_INTERFACE_ID(IWorkspace);

// ---------------------------------------------------------------------------
// Host user interface

class IActivatableObject : public IUnknown {
public:
    virtual HRESULT Activate(int32_t activate) = 0;
};
FLUKO_INTERFACE_ID(IActivatableObject);

class IButton : public IUnknown {
public:
    virtual HRESULT Press() = 0;
    virtual HRESULT Unpress() = 0;
    virtual HRESULT put_Property(int32_t id, int32_t value) = 0;
    virtual HRESULT get_Property(int32_t id, int32_t* value) = 0;
};
FLUKO_INTERFACE_ID(IButton);

class IButtonCollection : public IUnknown {
public:
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT get_Index(IVariant* key, int32_t* index) = 0;
    virtual HRESULT put_PropertyAll(int32_t id, int32_t value) = 0;
};
FLUKO_INTERFACE_ID(IButtonCollection);

class IConfirmationWindow : public IUnknown {
public:
    virtual HRESULT Show() = 0;
    virtual HRESULT SetMessage(IString* text, int32_t style) = 0;
    virtual HRESULT put_TimeOut(int32_t seconds) = 0;
};
FLUKO_INTERFACE_ID(IConfirmationWindow);
// SetMessage's style word: the buttons the window offers.
constexpr int32_t kConfirmOk = 0x1001;
constexpr int32_t kConfirmOkCancel = 0x2001;
constexpr int32_t kConfirmYesNo = 0x4001;

class IEventSource : public IUnknown {
public:
    virtual HRESULT Advise(IUnknown* sink, int32_t kind) = 0;
};
FLUKO_INTERFACE_ID(IEventSource);
// Advise's kinds: which of the source's events the sink gets.
constexpr int32_t kEventsOfWindow = 1;  // a confirmation window's, a keyboard's, a property frame's
constexpr int32_t kEventsOfFileArchive = 2;

class IHostWindow : public IUnknown {
public:
    virtual HRESULT get_HostedObject(IUnknown** out) = 0;
    virtual HRESULT Show(int32_t a, int32_t b) = 0;
    virtual HRESULT get_Area(int32_t rect[4]) = 0;
    virtual HRESULT put_Area(const int32_t rect[4]) = 0;
};
FLUKO_INTERFACE_ID(IHostWindow);
// Show's two arguments as the Input step passes them for a file chooser.
constexpr int32_t kShowChooserA = 1;
constexpr int32_t kShowChooserB = 2;

class IMessageWindow : public IUnknown {
public:
    virtual HRESULT put_Message(IString* text) = 0;
};
FLUKO_INTERFACE_ID(IMessageWindow);

class IPasswordAccess : public IUnknown {
public:
    virtual int32_t CheckPassword(IString* password) = 0;  // the resulting access value
};
FLUKO_INTERFACE_ID(IPasswordAccess);

class IRecentStringCollection : public IUnknown {
public:
    virtual HRESULT Add(IString* text, IString* label, int32_t reserved) = 0;
    virtual HRESULT Save() = 0;
};
FLUKO_INTERFACE_ID(IRecentStringCollection);

class IRenderableObject : public IUnknown {};
FLUKO_INTERFACE_ID(IRenderableObject);

class IRenderableObjectEntity : public IUnknown {
public:
    virtual HRESULT get_RenderableObject(IUnknown** out) = 0;
};
FLUKO_INTERFACE_ID(IRenderableObjectEntity);

class ISmartViewer : public IUnknown {
public:
    virtual HRESULT ShowObject(int32_t reserved1, IUnknown* object, int32_t reserved2) = 0;
};
FLUKO_INTERFACE_ID(ISmartViewer);

class ITabCollection : public IUnknown {
public:
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT get_Index(IString* name, int32_t* index) = 0;
    virtual HRESULT get_ItemName(int32_t index, IString** name) = 0;
    virtual HRESULT get_Selected(int32_t* index) = 0;
    virtual HRESULT Select(int32_t index, int32_t notify) = 0;
};
FLUKO_INTERFACE_ID(ITabCollection);
// Select's notify argument, as the steps pass it.
constexpr int32_t kSelectNotify = 1;

class IToolbar : public IUnknown {
public:
    virtual HRESULT RunCommand(int32_t command) = 0;
};
FLUKO_INTERFACE_ID(IToolbar);

class IToolbarHost : public IUnknown {
public:
    virtual HRESULT RunCommand(int32_t command, int32_t reserved) = 0;
};
FLUKO_INTERFACE_ID(IToolbarHost);

class IToolbarItem : public IUnknown {
public:
    virtual HRESULT Unpress() = 0;
};
FLUKO_INTERFACE_ID(IToolbarItem);

class IUIFileArchive : public IUnknown {};
FLUKO_INTERFACE_ID(IUIFileArchive);

class IUIKeyboard : public IUnknown {
public:
    virtual HRESULT put_Mode(int32_t mode) = 0;
    virtual HRESULT put_Text(IString* text) = 0;
};
FLUKO_INTERFACE_ID(IUIKeyboard);
// put_Mode's layouts.
constexpr int32_t kKeyboardText = 0x8000006;
constexpr int32_t kKeyboardInteger = 0x8000003;
constexpr int32_t kKeyboardDecimal = 0x8000005;
constexpr int32_t kKeyboardMaskedText = 0x8080006;

class IUIKeyboardInput : public IUnknown {
public:
    virtual HRESULT SendKey(int32_t key, int32_t a, int32_t b, int32_t c) = 0;
};
FLUKO_INTERFACE_ID(IUIKeyboardInput);
constexpr int32_t kKeyEnter = 13;

class IUIMouseInput : public IUnknown {
public:
    virtual HRESULT SendMouse(int32_t button, int32_t state, int32_t modifiers, double x, double y, int32_t* area) = 0;
};
FLUKO_INTERFACE_ID(IUIMouseInput);
// SendMouse's codes.
constexpr int32_t kMouseLeftButton = 1;
constexpr int32_t kMouseRightButton = 2;
constexpr int32_t kMouseOver = 0;
constexpr int32_t kMouseUp = 2;
constexpr int32_t kMouseDown = 3;
constexpr int32_t kMouseNoModifier = 0;
constexpr int32_t kMouseModifier = 8;

class IUINode : public IUnknown {
public:
    virtual HRESULT get_NodeObject(IUnknown** out) = 0;
};
FLUKO_INTERFACE_ID(IUINode);

class IUIPopupCollection : public IUnknown {
public:
    virtual HRESULT AdjustArea(int32_t rect[4], int32_t a, int32_t b) = 0;
};
FLUKO_INTERFACE_ID(IUIPopupCollection);
// AdjustArea's two arguments as the Edit step passes them.
constexpr int32_t kAdjustAreaA = 0;
constexpr int32_t kAdjustAreaB = 1;

class IUIPropInterrogate : public IUnknown {
public:
    virtual int32_t GetProperty(int32_t id, void* value) = 0;  // the property's kind, negative when absent
    virtual HRESULT SetProperty(int32_t id, int32_t value) = 0;
    virtual HRESULT GetPropertyRange(int32_t which, int32_t* first, int32_t* last) = 0;
    virtual HRESULT GetPropertyChoices(int32_t id, IString** choices) = 0;
};
FLUKO_INTERFACE_ID(IUIPropInterrogate);

class IUIPropInterrogateEx : public IUnknown {
public:
    virtual int32_t GetPropertyObject(int32_t id, IUnknown** value) = 0;  // kind, negative when absent
    virtual HRESULT PutPropertyObject(int32_t id, IUnknown* value) = 0;
};
FLUKO_INTERFACE_ID(IUIPropInterrogateEx);

class IUIPropertyPageCollection : public IUnknown {
public:
    virtual HRESULT SetPages(ISuperCollection* pages, int32_t reserved) = 0;
    virtual HRESULT AddObject(IUnknown* object, int32_t flags) = 0;
    virtual HRESULT Close(int32_t code) = 0;
    virtual HRESULT put_HelpFile(IString* helpFile, int32_t reserved) = 0;
    virtual HRESULT put_Options(int32_t options) = 0;
    virtual HRESULT SetItemSize(int32_t a, int32_t b, int32_t size) = 0;
};
FLUKO_INTERFACE_ID(IUIPropertyPageCollection);
// AddObject's flags: an edited object whose pages the frame's page list
// gives, one that brings its own pages, and a step edited through its verb.
constexpr int32_t kFrameObjectListedPages = 0xC0;
constexpr int32_t kFrameObjectOwnPages = 0xE0;
constexpr int32_t kFrameObjectStep = 0x60;
// put_Options's bits: the close button (off, shown, shown and closing on
// apply), the help button, the save and load buttons.
constexpr int32_t kFrameCloseOff = 0x1;
constexpr int32_t kFrameCloseShown = 0x5;
constexpr int32_t kFrameCloseOnApply = 0x205;
constexpr int32_t kFrameHelp = 0x2;
constexpr int32_t kFrameSaveLoad = 0xA0;
// Close's code when a step stops its editor.
constexpr int32_t kFrameCloseStopped = 3;

class IUIRefreshableObject : public IUnknown {
public:
    virtual HRESULT Refresh(int32_t mode) = 0;
};
FLUKO_INTERFACE_ID(IUIRefreshableObject);
// Refresh's modes.
constexpr int32_t kRefreshOrdinary = 0;
constexpr int32_t kRefreshImmediate = 9;

class IUIScrollableObject : public IUnknown {
public:
    virtual HRESULT get_Scroll(int16_t axis, double* position, double* pageSize) = 0;
    virtual HRESULT put_Scroll(int16_t axis, double position, double pageSize) = 0;
};
FLUKO_INTERFACE_ID(IUIScrollableObject);

class IUIUtils : public IUnknown {
public:
    virtual HRESULT ShowPopup(IString* caption, IUnknown* owner, int32_t a, IUnknown* content, IUnknown** window,
                              int32_t b, int32_t c) = 0;
    virtual HRESULT ShowFileArchive(int32_t nameLength, const wchar_t* name, int32_t captionLength,
                                    const wchar_t* caption, int32_t filterLength, const wchar_t* filter, int32_t a,
                                    int32_t save, int32_t b, int32_t c, IUnknown** result) = 0;
};
FLUKO_INTERFACE_ID(IUIUtils);
// ShowPopup's three numbers, whose meanings are the host's: the one every
// step passes third, then the last two (called placement and options here),
// which differ for the keyboard, the editor and a verb's editor.
constexpr int32_t kPopupKind = 3;
constexpr int32_t kPopupKeyboardPlacement = 5, kPopupKeyboardOptions = 1;
constexpr int32_t kPopupEditorPlacement = 4, kPopupEditorOptions = 1;
constexpr int32_t kPopupVerbEditorPlacement = 4, kPopupVerbEditorOptions = -1;
// ShowFileArchive's save argument.
constexpr int32_t kFileArchiveLoad = 0, kFileArchiveSave = 1;

class IUIVerb : public IUnknown {
public:
    virtual HRESULT get_Name(IString** out) = 0;
    virtual HRESULT get_Property(int32_t id, int32_t* value) = 0;  // 2: the verb identifier
};
FLUKO_INTERFACE_ID(IUIVerb);
// get_Property's id of the verb identifier.
constexpr int32_t kVerbIdentifierProperty = 2;

class IUIVerbCollection : public IUnknown {
public:
    virtual HRESULT get_Count(int32_t* count) = 0;
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT AddVerb(int32_t position, IString* name, int32_t a, int32_t b, int32_t id, int32_t c) = 0;
};
FLUKO_INTERFACE_ID(IUIVerbCollection);

class IWindow : public IUnknown {};
FLUKO_INTERFACE_ID(IWindow);

class IWindowCollection : public IUnknown {
public:
    virtual HRESULT get_Item(int32_t index, IUnknown** out) = 0;
    virtual HRESULT get_Index(IString* name, int32_t* index) = 0;
    virtual HRESULT Add(IString* name, IWindow* window) = 0;
    virtual HRESULT Remove(int32_t index) = 0;
};
FLUKO_INTERFACE_ID(IWindowCollection);

// ---------------------------------------------------------------------------
// Interfaces that step objects implement

class IObjectInfo : public IUnknown {
public:
    virtual HRESULT GetName(int32_t reserved, tagREFString* name) = 0;
};
FLUKO_INTERFACE_ID(IObjectInfo);

class IStep : public IUnknown {
public:
    virtual HRESULT TurnOn() = 0;
    virtual HRESULT TurnOff() = 0;
    virtual int32_t IsRunning() = 0;
    virtual HRESULT get_ExecutionTime(double* out) = 0;
};
FLUKO_INTERFACE_ID(IStep);

class IParameters : public INamedCollection {
public:
    virtual HRESULT Rename(int32_t index, IString* name) = 0;
    virtual HRESULT CollectionLock() = 0;
    virtual HRESULT CollectionUnlock() = 0;
    virtual HRESULT IsCollectionLocked() = 0;
    virtual HRESULT Iterate(int32_t index, IString** name, IVariant** value, IUnknown** descriptor, int32_t* flags) = 0;
    virtual HRESULT get_ItemVariant(int32_t index, IVariant** out) = 0;
    virtual HRESULT put_Item(int32_t index, IUnknown* value) = 0;
    virtual HRESULT get_ItemDescriptor(int32_t index, IUnknown** out) = 0;
    virtual HRESULT put_ItemDescriptor(int32_t index, IUnknown* descriptor) = 0;
    virtual HRESULT get_ItemFlags(int32_t index, int32_t* flags) = 0;
    virtual HRESULT put_ItemFlags(int32_t index, int32_t flags) = 0;
};
FLUKO_INTERFACE_ID(IParameters);

class IParametersCreatable : public IParameters {
public:
    virtual HRESULT Add(IString* name, IUnknown* value, IUnknown* descriptor, int32_t flags) = 0;
    virtual HRESULT Remove(int32_t index) = 0;
    virtual HRESULT RemoveAll() = 0;
    virtual HRESULT Copy(IParameters* source) = 0;
    virtual HRESULT Sort(int32_t mode) = 0;
    virtual HRESULT Set(IUnknown* key, IUnknown* value, IUnknown* descriptor, int32_t flags, int16_t mode) = 0;
};
FLUKO_INTERFACE_ID(IParametersCreatable);

class IBindableObject : public IUnknown {
public:
    virtual HRESULT Bind(INamedCollection* collection, IUnknown* reserved) = 0;
};
FLUKO_INTERFACE_ID(IBindableObject);

class IReplicableObject : public IUnknown {
public:
    virtual HRESULT Replicate(IUnknown** copy) = 0;
};
FLUKO_INTERFACE_ID(IReplicableObject);

class IUIPropertyPageSpecify : public IUnknown {
public:
    virtual HRESULT GetPages(int32_t reserved, INamedCollection** pages, IUnknown** unused) = 0;
};
FLUKO_INTERFACE_ID(IUIPropertyPageSpecify);

class IParametricObject : public IUnknown {
public:
    virtual HRESULT GetParameters(INamedCollection** out, int32_t reserved) = 0;
    virtual HRESULT SetParameters(INamedCollection* parameters) = 0;
};
FLUKO_INTERFACE_ID(IParametricObject);

class IUIVerbCollectionSpecify : public IUnknown {
public:
    virtual int32_t DoAction(int32_t verb, IUnknown* object) = 0;  // the verb code to act on
    virtual HRESULT GetVerbs(int32_t reserved, IUnknown* object, IUIVerbCollection** out) = 0;
};
FLUKO_INTERFACE_ID(IUIVerbCollectionSpecify);

// Event interfaces that host windows call; handlers return 0.
class _IConfirmationEvent : public IUnknown {
public:
    virtual HRESULT ConfirmationDone(IUnknown* window, int32_t response) = 0;
};
FLUKO_INTERFACE_ID(_IConfirmationEvent);

class _IUIKeyboardEvents : public IUnknown {
public:
    virtual HRESULT KeyboardClose(IUnknown* source) = 0;
    virtual HRESULT KeyboardApply(IString* text, IUnknown* source) = 0;
};
FLUKO_INTERFACE_ID(_IUIKeyboardEvents);

class _IUIFileArchiveEvents : public IUnknown {
public:
    virtual HRESULT FileArchiveClose(IUnknown* source) = 0;
    virtual HRESULT FileArchiveApply(IString* name, IUnknown* source) = 0;
};
FLUKO_INTERFACE_ID(_IUIFileArchiveEvents);

class _IUIPropFrameEvents : public IUnknown {
public:
    virtual HRESULT EditClosed(IUnknown* source) = 0;
    virtual HRESULT EditApply(IUnknown* source) = 0;
    virtual HRESULT EditCancel(IUnknown* source) = 0;
};
FLUKO_INTERFACE_ID(_IUIPropFrameEvents);

// The exported entry points of every component module.
using CREATEFUNCTION = HRESULT (*)(void* reserved, const IID* iid, void** out);
using INITIALIZEMODULEFUNCTION = HRESULT (*)(void* reserved, IComponentCollection* collection);
using CREATEFUNCTIONFUNCTION = HRESULT (*)(tagREFString name, CREATEFUNCTION* creator);
