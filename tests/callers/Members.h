#pragma once

#include <oaidl.h>
#include <string>
#include <vector>

struct Parameter
{
    std::wstring name;
    VARTYPE type; ///< of the value referred to; enums are VT_I4, the library's own objects VT_DISPATCH
    bool optional;
};

/// One way to call a member: a property has one for reading and one for writing.
struct Member
{
    std::wstring name;
    DISPID id;
    WORD flags;     ///< DISPATCH_METHOD, ...
    VARTYPE result; ///< VT_EMPTY for none
    std::vector<Parameter> parameters;
};

/// The id of the interface that an object's type information describes.
IID interfaceOf(IDispatch& object);

/// The members that an object's type information offers to hosts; none for an object without.
std::vector<Member> membersOf(IDispatch& object);
