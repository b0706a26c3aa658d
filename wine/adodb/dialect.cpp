#include "dialect.h"

#include "postgres_name.h"
#include "sql_tokens.h"

#include <initializer_list>
#include <optional>

namespace adodb {

namespace {

/// Rewrites one list of tokens.
class Rewriter
{
public:
    explicit Rewriter(std::wstring_view sql) : tokens_(tokenize(sql)) {}

    std::wstring run()
    {
        while (at_ < tokens_.size())
            step();
        endStatement();
        return out_;
    }

private:
    /// The position after `at` and the gap after it.
    size_t past(size_t at) const
    {
        for (++at; at < tokens_.size() && tokens_[at].isGap();)
            ++at;
        return at;
    }

    bool isWord(size_t at, std::wstring_view word) const
    {
        return at < tokens_.size() && tokens_[at].kind == TokenKind::Word && equalsIgnoringCase(tokens_[at].text, word);
    }
    bool isSymbol(size_t at, wchar_t symbol) const { return at < tokens_.size() && tokens_[at].isSymbol(symbol); }
    bool isKind(size_t at, TokenKind kind) const { return at < tokens_.size() && tokens_[at].kind == kind; }

    /// Follows words and one-character symbols from `at`; the position after them, or none.
    std::optional<size_t> follow(size_t at, std::initializer_list<std::wstring_view> pattern) const
    {
        for (const std::wstring_view part : pattern) {
            if (at >= tokens_.size() || !equalsIgnoringCase(tokens_[at].text, part))
                return std::nullopt;
            at = past(at);
        }
        return at;
    }

    void step()
    {
        const Token& token = tokens_[at_];
        if (isWord(at_, L"select") && rewriteTop())
            return;
        if (isWord(at_, L"dateadd") && rewriteDateAdd())
            return;
        if (isWord(at_, L"if") && rewriteConstraintGuard())
            return;
        if (token.isSymbol(L'('))
            limits_.emplace_back();
        else if (token.isSymbol(L')'))
            closeParenthesis();
        else if (token.isSymbol(L';'))
            endStatement();
        const bool isName = token.kind == TokenKind::BracketedName && !isSubscript();
        append(isName ? postgresName(token.text) : std::wstring(token.text));
        if (!token.isGap())
            contentEnd_ = out_.size();
        ++at_;
    }

    /// Removed brackets do not separate a name from the words beside it: a blank does.
    void append(const std::wstring& text)
    {
        if (!out_.empty() && isNameCharacter(out_.back()) && isNameCharacter(text.front()))
            out_ += L' ';
        out_ += text;
    }

    /// `x[1]` and `array[...]`: PostgreSQL's own use of brackets.
    bool isSubscript() const
    {
        if (at_ == 0 || tokens_[at_ - 1].isGap())
            return false;
        return isWord(at_ - 1, L"array") || tokens_[at_].text.find_first_not_of(L"[]0123456789:") == std::wstring::npos;
    }

    /// `select top n` and `select top (n)`: the limit goes to the end of this select.
    bool rewriteTop()
    {
        size_t at = past(at_);
        const size_t distinct = at;
        if (isWord(at, L"distinct"))
            at = past(at);
        if (!isWord(at, L"top"))
            return false;
        size_t number = past(at);
        const bool inParentheses = isSymbol(number, L'(');
        if (inParentheses)
            number = past(number);
        if (!isKind(number, TokenKind::Number))
            return false;
        size_t next = past(number);
        if (inParentheses && !isSymbol(next, L')'))
            return false;
        if (inParentheses)
            next = past(next);
        if (isWord(next, L"percent") || isInSetOperation())
            return false;
        out_ += tokens_[at_].text;
        out_ += distinct != at ? L" distinct " : L" ";
        limits_.back() = L" limit " + std::wstring(tokens_[number].text);
        at_ = next;
        return true;
    }

    /// Whether a union or the like stands beside this select: the limit would fall on the whole of it.
    bool isInSetOperation() const
    {
        const auto isOperator = [this](size_t at) {
            return isWord(at, L"union") || isWord(at, L"except") || isWord(at, L"intersect");
        };
        int depth = 0;
        for (size_t at = at_; at < tokens_.size() && depth >= 0 && !tokens_[at].isSymbol(L';'); ++at) {
            depth += tokens_[at].isSymbol(L'(') - tokens_[at].isSymbol(L')');
            if (depth == 0 && isOperator(at))
                return true;
        }
        depth = 0;
        for (size_t at = at_; at-- > 0 && depth >= 0 && !tokens_[at].isSymbol(L';');) {
            depth += tokens_[at].isSymbol(L')') - tokens_[at].isSymbol(L'(');
            if (depth == 0 && isOperator(at))
                return true;
        }
        return false;
    }

    /// `dateadd(s, n, x)`; the arguments are rewritten themselves.
    bool rewriteDateAdd()
    {
        const auto unit = past(past(at_));
        if (!isSymbol(past(at_), L'(') || !(isWord(unit, L"s") || isWord(unit, L"ss") || isWord(unit, L"second")) ||
            !isSymbol(past(unit), L','))
            return false;
        const size_t amount = past(past(unit));
        const size_t comma = endOfArgument(amount, L',');
        const size_t close = comma < tokens_.size() ? endOfArgument(comma + 1, L')') : tokens_.size();
        if (close >= tokens_.size())
            return false;
        const bool isLiteral = isKind(past(comma), TokenKind::String) && past(past(comma)) == close;
        const bool isSimple = past(amount) == comma || (isSymbol(amount, L'-') && past(past(amount)) == comma);
        const std::wstring count = rewritten(amount, comma);
        out_ += (isLiteral ? L"(timestamp " : L"(") + rewritten(comma + 1, close) + L" + " +
                (isSimple ? count : L'(' + count + L')') + L" * interval '1 second')";
        contentEnd_ = out_.size();
        at_ = close + 1;
        return true;
    }

    /// The position of `end` at this nesting level, or the end of the tokens.
    size_t endOfArgument(size_t at, wchar_t end) const
    {
        for (int depth = 0; at < tokens_.size(); ++at) {
            if (depth == 0 && tokens_[at].isSymbol(end))
                break;
            if (tokens_[at].isSymbol(L'('))
                ++depth;
            else if (tokens_[at].isSymbol(L')') && --depth < 0)
                return tokens_.size();
        }
        return at;
    }

    /// The tokens `first` to `last`, rewritten, without the gaps around them.
    std::wstring rewritten(size_t first, size_t last) const
    {
        while (first < last && tokens_[first].isGap())
            ++first;
        while (last > first && tokens_[last - 1].isGap())
            --last;
        std::wstring text;
        for (; first < last; ++first)
            text += tokens_[first].text;
        return Rewriter(text).run();
    }

    /// `IF OBJECT_ID('schema.X', 'F') IS NOT NULL alter table T drop constraint X`.
    bool rewriteConstraintGuard()
    {
        const auto name = follow(at_, {L"if", L"object_id", L"("});
        if (!name || !isKind(*name, TokenKind::String))
            return false;
        const auto rest = follow(past(*name), {L",", L"'F'", L")", L"is", L"not", L"null"});
        if (!rest || !follow(*rest, {L"alter", L"table"}))
            return false;
        for (size_t at = *rest; at < tokens_.size() && !tokens_[at].isSymbol(L';'); ++at) {
            if (const auto constraint = follow(at, {L"drop", L"constraint"})) {
                out_ += rewritten(*rest, *constraint) + L" if exists ";
                at_ = *constraint;
                return true;
            }
        }
        return false;
    }

    void flushLimit()
    {
        if (limits_.back().empty())
            return;
        out_.insert(contentEnd_, limits_.back());
        limits_.back().clear();
    }

    void closeParenthesis()
    {
        flushLimit();
        if (limits_.size() > 1)
            limits_.pop_back();
    }

    void endStatement()
    {
        limits_.resize(1);
        flushLimit();
    }

    std::vector<Token> tokens_;
    size_t at_ = 0;
    std::wstring out_;
    size_t contentEnd_ = 0;               ///< in out_, after the last token that is neither space nor comment
    std::vector<std::wstring> limits_{1}; ///< the pending limit of the select at each parenthesis level
};

/// Whether the text has a bracket anywhere, or a word of a statement that is rewritten. Most statements have none, and
/// this glance is cheaper than cutting them into tokens.
bool mayNeedRewriting(std::wstring_view sql)
{
    const auto stands = [&](size_t at, std::wstring_view sign) {
        return equalsIgnoringCase(sql.substr(at, sign.size()), sign);
    };
    const auto isSign = [&](size_t at) {
        switch (lowerAscii(sql[at])) {
        case L'[':
            return true;
        case L't':
            return stands(at, L"top");
        case L'd':
            return stands(at, L"dateadd");
        case L'o':
            return stands(at, L"object_id");
        default:
            return false;
        }
    };
    for (size_t at = 0; at < sql.size(); ++at)
        if (isSign(at))
            return true;
    return false;
}

} // namespace

Dialect dialectOfDatabase(std::wstring_view dbmsName) noexcept
{
    return equalsIgnoringCase(dbmsName, L"PostgreSQL") ? Dialect::PostgreSql : Dialect::Untouched;
}

std::wstring translateSql(Dialect dialect, std::wstring sql)
{
    if (dialect == Dialect::PostgreSql && mayNeedRewriting(sql))
        return Rewriter(sql).run();
    return sql;
}

} // namespace adodb
