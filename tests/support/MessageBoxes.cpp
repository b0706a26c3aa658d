#include "MessageBoxes.h"

namespace {

thread_local MessageBoxes* g_active = nullptr;
std::function<void(const wchar_t*)> g_whenAsked;

constexpr wchar_t kDialogClass[] = L"#32770";

std::wstring windowText(HWND window)
{
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

std::wstring className(HWND window)
{
    wchar_t name[64] = L"";
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    return name;
}

BOOL CALLBACK readChild(HWND child, LPARAM parameter)
{
    ShownBox& box = *reinterpret_cast<ShownBox*>(parameter);
    const std::wstring kind = className(child);
    // The icon's static is in every box, without text and unseen when there is no icon.
    if (kind == L"Static" && box.text.empty())
        box.text = windowText(child);
    if (kind == L"Button" && (GetWindowLongW(child, GWL_STYLE) & WS_VISIBLE))
        box.buttons.push_back(windowText(child));
    return TRUE;
}

} // namespace

MessageBoxes::MessageBoxes() : hook_(SetWindowsHookExW(WH_CALLWNDPROCRET, onMessage, nullptr, GetCurrentThreadId()))
{
    g_active = this;
}

MessageBoxes::~MessageBoxes()
{
    UnhookWindowsHookEx(hook_);
    g_active = nullptr;
}

std::vector<std::wstring> MessageBoxes::texts() const
{
    std::vector<std::wstring> texts;
    for (const ShownBox& box : shown_)
        texts.push_back(box.text);
    return texts;
}

LRESULT CALLBACK MessageBoxes::onMessage(int code, WPARAM wParam, LPARAM lParam)
{
    // A box has its texts and buttons when it has been told to initialize, which happens once.
    const CWPRETSTRUCT& done = *reinterpret_cast<const CWPRETSTRUCT*>(lParam);
    if (code == HC_ACTION && g_active && done.message == WM_INITDIALOG && className(done.hwnd) == kDialogClass)
        g_active->answer(done.hwnd);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

void MessageBoxes::answer(HWND box)
{
    ShownBox shown{windowText(box), L"", {}};
    EnumChildWindows(box, readChild, reinterpret_cast<LPARAM>(&shown));
    shown_.push_back(shown);
    if (action_)
        action_();
    PostMessageW(box, WM_COMMAND, IDOK, 0);
}

UnshownBoxes::UnshownBoxes(std::function<void(const wchar_t* text)> whenAsked, const wchar_t* module)
    : hook_("MessageBoxW", reinterpret_cast<void*>(answer), module)
{
    g_whenAsked = std::move(whenAsked);
}

int WINAPI UnshownBoxes::answer(HWND, const wchar_t* text, const wchar_t*, UINT)
{
    if (g_whenAsked)
        g_whenAsked(text);
    return IDOK;
}
