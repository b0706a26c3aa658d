#include "ado/Recordset.h"

#include "ado/Command.h"
#include "ado/constants.h"
#include "com/convert.h"

namespace ado {

namespace {

constexpr wchar_t kFields[] = L"Fields";
constexpr wchar_t kItem[] = L"Item";

} // namespace

std::wstring Field::name() const
{
    return com::toText(nameValue());
}

_variant_t Field::nameValue() const
{
    return object_.property(L"Name");
}

_variant_t Field::value() const
{
    return object_.property(L"Value");
}

long Field::type() const
{
    return com::toInt32(object_.property(L"Type"));
}

void Recordset::setCursorLocation(long location)
{
    object_.put(L"CursorLocation", location);
}

void Recordset::open(const Command& source, long cursorType, long lockType)
{
    object_.call(L"Open", {_variant_t(source.object().get()), com::missing(), cursorType, lockType,
                           static_cast<long>(adOptionUnspecified)});
}

void Recordset::close()
{
    object_.call(L"Close");
}

bool Recordset::eof() const
{
    return com::toBool(object_.property(L"EOF"));
}

void Recordset::moveNext()
{
    object_.call(L"MoveNext");
}

long Recordset::fieldCount() const
{
    return com::toInt32(fields().property(L"Count"));
}

Field Recordset::field(long index) const
{
    return Field(fields().resultOf(kItem, fields().property(kItem, {index})));
}

Field Recordset::field(const std::wstring& name) const
{
    return Field(fields().resultOf(kItem, fields().property(kItem, {com::textVariant(name)})));
}

const com::Dispatch& Recordset::fields() const
{
    if (!fields_)
        fields_ = object_.resultOf(kFields, object_.property(kFields));
    return fields_;
}

} // namespace ado
