#pragma once

#include <comdef.h>
#include <functional>
#include <vector>
#include <wrl/client.h>

/// Both sides of a `For Each`.
namespace com {

/// Hands every element of `collection` to `visit`, in order: of anything enumerable (DISPID_NEWENUM) or of an array.
/// Raises 91 for Nothing, 13 for a plain value, 438 for an object that cannot be enumerated, and whatever the
/// enumerator reports.
void forEach(const VARIANT& collection, const std::function<void(const _variant_t&)>& visit);

/// A walk over a copy of the items, a collection's answer to DISPID_NEWENUM.
Microsoft::WRL::ComPtr<IEnumVARIANT> enumeratorOf(std::vector<_variant_t> items);

} // namespace com
