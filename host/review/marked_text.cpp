#include "review/marked_text.h"

#include "html_page.h"
#include "review/difference.h"

#include <algorithm>
#include <fmt/format.h>

namespace {

/// How many characters of an equal part are shown at its ends.
constexpr size_t kContext = 80;
/// How many may be between to be shown too.
constexpr size_t kShown = 160;
/// How far the end of what is shown may be moved to the end of a word.
constexpr size_t kRestOfWord = 20;

size_t countCharacters(std::string_view text)
{
    return static_cast<size_t>(std::ranges::count_if(text, [](char c) { return !isContinuation(c); }));
}

/// The length of the context at the beginning, in bytes.
size_t headLength(std::string_view text)
{
    size_t length = 0;
    for (size_t characters = 0; length < text.size(); ++length)
        if (!isContinuation(text[length]) && ++characters > kContext)
            break;
    const size_t rest = text.substr(length, kRestOfWord).find_first_of(" \n");
    return rest == std::string_view::npos ? length : length + rest;
}

size_t tailLength(std::string_view text)
{
    size_t begin = text.size();
    for (size_t characters = 0; begin > 0 && characters < kContext;)
        if (!isContinuation(text[--begin]))
            ++characters;
    const size_t before = std::min(begin, kRestOfWord);
    const size_t space = text.substr(begin - before, before).find_last_of(" \n");
    return text.size() - (space == std::string_view::npos ? begin : begin - before + space + 1);
}

std::string folded(std::string_view text)
{
    const size_t head = headLength(text);
    const size_t tail = tailLength(text.substr(head));
    const std::string_view middle = text.substr(head, text.size() - head - tail);
    const size_t characters = countCharacters(middle);
    if (characters <= kShown)
        return escapeHtml(text);
    return fmt::format("{}<details><summary>… {} characters equal …</summary>{}</details>{}",
                       escapeHtml(text.substr(0, head)), characters, escapeHtml(middle),
                       escapeHtml(text.substr(text.size() - tail)));
}

std::string marked(std::string_view text)
{
    if (text.empty())
        return {};
    if (text.find_first_not_of(" \t\r\n") != std::string_view::npos)
        return "<mark>" + escapeHtml(text) + "</mark>";
    // A browser shows no difference between the ways to end a line, and a line's end by itself not at all.
    std::string visible;
    for (const char c : text)
        visible += c == '\n' ? "↵\n" : c == '\r' ? "␍" : c == '\t' ? "→\t" : "·";
    return "<mark>" + visible + "</mark>";
}

} // namespace

MarkedTexts markDifferences(std::string_view left, std::string_view right)
{
    MarkedTexts texts;
    for (const TextPart& part : findDifferences(left, right)) {
        texts.left += part.equal ? folded(part.left) : marked(part.left);
        texts.right += part.equal ? folded(part.right) : marked(part.right);
    }
    return texts;
}
