#include "conflicts/key_info.h"

#include "com/convert.h"
#include "control/RaiseError.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"

#include <algorithm>
#include <iterator>

namespace quinmark {
namespace {

/// In a statement {Q} stands for the key between apostrophes, {N} for the key as it is.
struct KeyInfo
{
    const wchar_t* sTable;
    const wchar_t* sSql;
};

constexpr KeyInfo kKeyInfos[] = {
    {L"PATIENT", L"Select full_name + ' (' + cast(unid as varchar(6)) + ')' from patient where unid = {N}"},
    {L"DENTIST", L"Select dbo.FN_DentistFullName({Q}) + isnull(' (' + address1 + ')','') from dentist"
                 L" where unid = {Q}"},
    {L"SPECIALIST", L"Select dbo.FN_SpecialistFullName({Q}) + isnull(' (' + address1 + ')','') from specialist"
                    L" where unid = {Q}"},
    {L"CHART_HDR", L"Select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')' from chart_hdr ch"
                   L" join patient pat on pat.unid = ch.patient_id where ch.unid = {Q}"},
    {L"CHART_ITEM", L"Select pat.full_name + ' date: ' + cast(ci.treatment_date as varchar(12)) from chart_item ci"
                    L" join patient pat on pat.unid = ci.patient_id where ci.unid = {Q}"},
    {L"CHART_COMMENT_INFO",
     L"Select pat.full_name + ' date: ' + cast(ci.treatment_date as varchar(12)) from chart_comment_info cci"
     L" join chart_item ci on ci.unid = cci.unid join chart_hdr ch on ch.unid = ci.chart_hdr_id"
     L" join patient pat on pat.unid = ch.patient_id where ci.unid = {Q}"},
    {L"USERS", L"select user_name from users where unid = {N}"},
    {L"PROCS", L"select proc_name from procs where unid = {N}"},
    {L"CHAIR_TYPE", L"select chair_type_name from chair_type where unid = {N}"},
    {L"SHORTCUT", L"select item_name from shortcut where unid = {Q}"},
    {L"COMBO_VALUES", L"select combo_name + '.' + combo_value from combo_values where unid = {Q}"},
    {L"CONFIG", L"select category + '.' + config_name from config where unid = {Q}"},
    {L"PROCS_LETTER", L"select cast(proc_id as varchar) + '.' + letter_type + '.' + letter_name from procs_letter"
                      L" where unid = {N}"},
    {L"PATIENT_SPEC_XREF",
     L"select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')'  + ' / ' + "
     L"dbo.FN_SpecialistFullName(psx.spec_id) from patient_spec_xref psx"
     L" join patient pat on pat.unid = psx.patient_id join specialist spec on spec.unid = psx.spec_id"
     L" where psx.unid = {Q}"},
    {L"CHART_OPTION", L"select option_name from chart_option where unid = {Q}"},
    {L"PATIENT_DATES", L"select pat.full_name + ' (' + cast(pat.unid as varchar(6)) + ')'  from patient_dates pd"
                       L" join patient pat on pat.unid = pd.patient_id where pd.unid = {Q}"},
    {L"ADA_CODE", L"select ada_code + ': ' + ada_code_desc from ada_code where unid = {Q}"},
};

constexpr const wchar_t* kNumericKeyTables[] = {L"PATIENT",    L"USERS",        L"PROCS",
                                                L"CHAIR_TYPE", L"PROCS_LETTER", L"PATIENT_DATES"};

std::wstring insertKey(const std::wstring& sSql, const _variant_t& vUnid)
{
    constexpr size_t kPlaceLength = 3;
    std::wstring result = sSql;
    for (size_t place = result.find(L'{'); place != std::wstring::npos; place = result.find(L'{', place)) {
        const bool quoted = result[place + 1] == L'Q';
        const std::wstring key = quoted ? Common::SqlQuoteOnly(vUnid) : com::toText(vUnid);
        result.replace(place, kPlaceLength, key);
        place += key.size(); // a GUID key has braces of its own
    }
    return result;
}

ado::Recordset openDescription(const std::wstring& sSql, long eConflictType, const Sides& sides)
{
    switch (eConflictType) {
    case CHANGED_ON_BOTH:
    case NEW_ON_source:
        return openForwardOnly(sides.source, sSql);
    case NEW_ON_DEST:
    case CHANGED_ON_DEST:
    case DELETED_ON_SOURCE:
        return openForwardOnly(sides.destination, sSql);
    default:
        return {};
    }
}

} // namespace

bool hasNumericKey(const std::wstring& sTable)
{
    return std::find(std::begin(kNumericKeyTables), std::end(kNumericKeyTables), com::upperCase(sTable)) !=
           std::end(kNumericKeyTables);
}

std::wstring keyInfoSql(const std::wstring& sTable, const _variant_t& vUnid)
{
    const std::wstring table = com::upperCase(sTable);
    for (const KeyInfo& info : kKeyInfos)
        if (table == info.sTable)
            return insertKey(info.sSql, vUnid);
    return {};
}

std::wstring getKeyInfo(const std::wstring& sTable, const _variant_t& vUnid, long eConflictType, const Sides& sides)
try {
    ado::Recordset rs = openDescription(keyInfoSql(sTable, vUnid), eConflictType, sides);
    std::wstring sKeyInfo = com::toText(rs.field(0).value());
    rs.close();
    return sKeyInfo;
}
catch (...) {
    Common::reraise(L"clsReplicateTable.getKeyInfo");
}

} // namespace quinmark
