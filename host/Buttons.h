// Buttons of the simulated host and the sets that hold them: a button bar, a
// toolbar that runs its buttons' commands itself, or a toolbar whose host
// runs them. Each records what is done to it, under its label (a button in
// a set as "Set.Button").
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/HostObject.h"

namespace host {

// Button properties.
constexpr int32_t kButtonKind = 6;       // 1: a push button
constexpr int32_t kButtonCommand = 8;    // the command it runs
constexpr int32_t kButtonSelected = 15;  // its selected state

// IButton and IToolbarItem each have an Unpress; these faces give the two
// their own implementations, so that a test sees which one was called.
class ButtonFace : public IButton {
public:
    HRESULT Unpress() final { return unpressButton(); }

protected:
    virtual HRESULT unpressButton() = 0;
};

class ToolbarItemFace : public IToolbarItem {
public:
    HRESULT Unpress() final { return unpressItem(); }

protected:
    virtual HRESULT unpressItem() = 0;
};

// A button: its properties (kind, command, selected state and any other a
// caller sets) and whether it is shown pressed. Declared as a toolbar item
// or not; only a toolbar item answers IToolbarItem.
class Button final : public Object<Button, ButtonFace, ToolbarItemFace> {
public:
    static constexpr char kLedgerName[] = "Button";
    using Answered = Answers<IButton, IToolbarItem>;

    Button(std::string label, std::wstring name, int32_t kind, int32_t command, bool toolbarItem);

    HRESULT QueryInterface(const IID& iid, void** out) override;
    HRESULT Press() override;
    HRESULT put_Property(int32_t id, int32_t value) override;
    // E_INVALIDARG (and 0) for a property the button does not have.
    HRESULT get_Property(int32_t id, int32_t* value) override;

    const std::wstring& name() const { return m_Name; }
    bool pressed() const;
    // The property's value, 0 when the button does not have it.
    int32_t property(int32_t id) const;
    // Sets a property without recording it (a set setting all its buttons).
    void setProperty(int32_t id, int32_t value);

private:
    HRESULT unpressButton() override;
    HRESULT unpressItem() override;

    mutable std::mutex m_Mutex;
    const std::wstring m_Name;
    const bool m_ToolbarItem;
    std::map<int32_t, int32_t> m_Properties;
    bool m_Pressed = false;
};

// A set of buttons found by number or by name. As a toolbar it runs a
// button's command itself (IToolbar); as a toolbar host it runs it for its
// toolbar (IToolbarHost); a plain set answers neither. Every set redraws
// itself on request.
class ButtonSet final : public Object<ButtonSet, IButtonCollection, IToolbar, IToolbarHost, IUIRefreshableObject> {
public:
    static constexpr char kLedgerName[] = "ButtonSet";
    using Answered = Answers<IButtonCollection, IToolbar, IToolbarHost, IUIRefreshableObject>;

    enum class Role { Plain, Toolbar, ToolbarHost };

    explicit ButtonSet(std::string label = "Buttons", Role role = Role::Plain);

    HRESULT QueryInterface(const IID& iid, void** out) override;
    // E_INVALIDARG outside the set.
    HRESULT get_Item(int32_t index, IUnknown** out) override;
    // A number is the index itself (failing, but left as the index, when
    // outside the set); a text is a button's name (-1 and failure when no
    // button bears it); anything else designates nothing.
    HRESULT get_Index(IVariant* key, int32_t* index) override;
    HRESULT put_PropertyAll(int32_t id, int32_t value) override;
    HRESULT RunCommand(int32_t command) override;
    HRESULT RunCommand(int32_t command, int32_t reserved) override;
    HRESULT Refresh(int32_t mode) override;

    // A new button at the end of the set, labelled "Set.Name".
    SmartPtr<Button> add(const std::wstring& name, int32_t kind, int32_t command, bool toolbarItem = false);
    SmartPtr<Button> button(int32_t index) const;
    Role role() const { return m_Role; }
    // The commands run, as a toolbar or as a toolbar host, in order.
    std::vector<int32_t> commands() const;
    // How often a single button was taken out of the set.
    int32_t itemsTaken() const;
    int32_t refreshes() const;

private:
    mutable std::mutex m_Mutex;
    const Role m_Role;
    std::vector<SmartPtr<Button>> m_Buttons;
    std::vector<int32_t> m_Commands;
    int32_t m_ItemsTaken = 0;
    int32_t m_Refreshes = 0;
};

}  // namespace host
