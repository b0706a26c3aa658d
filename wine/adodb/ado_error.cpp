#include "ado_error.h"

#include <array>

namespace adodb {

namespace {

struct ErrorText
{
    long number;
    const wchar_t* text;
};

constexpr std::array kTexts{
    ErrorText{kArgumentsWrong,
              L"Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another."},
    ErrorText{kNoCurrentRecord,
              L"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
              L"requires a current record."},
    ErrorText{kInTransaction, L"Connection object cannot be explicitly closed while in a transaction."},
    ErrorText{kFeatureNotAvailable, L"Object or provider is not capable of performing requested operation."},
    ErrorText{kItemNotFound, L"Item cannot be found in the collection corresponding to the requested name or ordinal."},
    ErrorText{kDataConversion, L"Application uses a value of the wrong type for the current operation."},
    ErrorText{kObjectClosed, L"Operation is not allowed when the object is closed."},
    ErrorText{kObjectOpen, L"Operation is not allowed when the object is open."},
    ErrorText{kProviderNotFound, L"Provider cannot be found. It may not be properly installed."},
    ErrorText{kBoundToCommand, L"Cannot change the ActiveConnection property of a Recordset object which has a Command "
                               L"object as its source."},
    ErrorText{kParameterImproper,
              L"Parameter object is improperly defined. Inconsistent or incomplete information was provided."},
    ErrorText{kInvalidConnection, L"The connection cannot be used to perform this operation. It is either closed or "
                                  L"invalid in this context."},
    ErrorText{kNoValueForParameter, L"No value given for one or more required parameters."},
    ErrorText{kCannotFetchBackwards, L"Rowset does not support fetching backward."},
    ErrorText{kNoTransaction, L"No transaction is active."},
    ErrorText{kTransactionExists, L"Only one transaction can be active on this session."},
};

} // namespace

const wchar_t* adoErrorText(long number) noexcept
{
    for (const ErrorText& entry : kTexts)
        if (entry.number == number)
            return entry.text;
    return L"";
}

void raiseAdoError(long number, const wchar_t* source)
{
    raiseAdoError(number, source, adoErrorText(number));
}

void raiseAdoError(long number, const wchar_t* source, const std::wstring& text)
{
    throw com::Error{number, source, text};
}

} // namespace adodb
