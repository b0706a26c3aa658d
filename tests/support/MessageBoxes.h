#pragma once

#include "ImportHook.h"

#include <functional>
#include <string>
#include <vector>
#include <windows.h>

/// A modal box as it was shown.
struct ShownBox
{
    std::wstring title;
    std::wstring text;
    std::vector<std::wstring> buttons;

    bool operator==(const ShownBox&) const = default;
};

/// Answers the modal message boxes of the calling thread with OK for as long as it lives, and keeps what they showed.
/// One at a time on a thread. It needs a display: without one no box comes up, and `shown` stays empty.
class MessageBoxes
{
public:
    MessageBoxes();
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    const std::vector<ShownBox>& shown() const { return shown_; }
    /// Texts of the boxes, in order.
    std::vector<std::wstring> texts() const;

    /// Runs `action` while a box is up, before it is answered.
    void whileShown(std::function<void()> action) { action_ = std::move(action); }

private:
    static LRESULT CALLBACK onMessage(int code, WPARAM wParam, LPARAM lParam);
    void answer(HWND box);

    HHOOK hook_;
    std::vector<ShownBox> shown_;
    std::function<void()> action_;
};

/// Answers the message boxes of a module with OK, unshown, for as long as it lives. One at a time in a process.
class UnshownBoxes
{
public:
    /// `whenAsked` gets the text of each; the module is the program unless told.
    explicit UnshownBoxes(std::function<void(const wchar_t* text)> whenAsked = {}, const wchar_t* module = nullptr);

private:
    static int WINAPI answer(HWND, const wchar_t* text, const wchar_t*, UINT);

    ImportHook hook_;
};
