#include "BadInput.h"

namespace {

struct Mismatch
{
    const char* name;
    const wchar_t* sql;
    const wchar_t* message;
};

void PrintTo(const Mismatch& mismatch, std::ostream* stream)
{
    *stream << testing::PrintToString(mismatch.sql);
}

class Checks : public BadInput, public testing::WithParamInterface<Mismatch>
{
};

constexpr wchar_t kOutOfRange[] = L"Subscript out of range";

INSTANTIATE_TEST_SUITE_P(
    Marks, Checks,
    testing::Values(
        Mismatch{"PatInfoVerDiffers", L"update control set id = '13' where type = 'PatInfoVer'",
                 L"Database Versions (PatInfoVer) out of sync.  Source = 12, Destination = 13"},
        Mismatch{"VersionDiffers", L"update control set id = '3.5' where type = 'Version'",
                 L"Database Versions (Quinmark Version) out of sync.  Source = 3.46, Destination = 3.5"},
        Mismatch{"BothDiffer", L"update control set id = '9' where type in ('PatInfoVer', 'Version')",
                 L"Database Versions (PatInfoVer) out of sync.  Source = 12, Destination = 9"},
        Mismatch{"PatInfoVerMissing", L"delete from control where type = 'PatInfoVer'",
                 L"Database Versions (PatInfoVer) out of sync.  Source = 12, Destination = 3.46"},
        Mismatch{"FifthVersion", L"insert into control (type, id) values ('Version', '3.46')", kOutOfRange},
        Mismatch{"NullVersion", L"update control set id = null where type = 'Version'", L"Invalid use of Null"},
        Mismatch{"OfficeDiffers", L"update control set id = 'Eastmere' where type = 'DBOffice'", kOutOfRange},
        Mismatch{"ThirdOffice", L"insert into control (type, id) values ('DBOffice', 'Norvale')", kOutOfRange}),
    [](const testing::TestParamInfo<Mismatch>& info) { return info.param.name; });

TEST_P(Checks, RefuseTheRunAndRecordWhy)
{
    destination().execute(GetParam().sql);
    connect();
    EXPECT_FALSE(ensureReplication());
    EXPECT_EQ(factoryError(), GetParam().message);
    EXPECT_EQ(recordedError(), std::wstring(L"error: ") + GetParam().message);
    EXPECT_TRUE(remote().rows(L"select unique_key from replication_control where error_message is not null").empty());
}

TEST_F(BadInput, DifferingVersionsFailTheStartUnderTheOneNumberOfAllChecks)
{
    setMark(destination(), L"PatInfoVer", L"13");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(kCheckFailed, L"clsReplicate.initNextRun",
                        L"Database Versions (PatInfoVer) out of sync.  Source = 12, Destination = 13"));
    EXPECT_TRUE(runFailed(*run.Get()));
}

TEST_F(BadInput, MarksThatBothSidesLackAgree)
{
    executeOnBoth(L"delete from control where type in ('PatInfoVer', 'Version', 'DBOffice')");
    connect();
    EXPECT_TRUE(ensureReplication());
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(BadInput, BlanksAroundAVersionDoNotCount)
{
    setMark(local(), L"ReplicationVersion", L"  3.46 ");
    setMark(remote(), L"PatInfoVer", L" 12 ");
    connect();
    EXPECT_TRUE(ensureReplication());
    const RunObject run = createRun();
    initNextRun(*run.Get());
    EXPECT_FALSE(runFailed(*run.Get()));
}

TEST_F(BadInput, MissingProgramVersionMarkFailsTheStart)
{
    local().execute(L"delete from control where type = 'ReplicationVersion'");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(kCheckFailed, L"clsReplicate.initNextRun",
                        L"No version information found on the database for ReplicationVersion"));
}

TEST_F(BadInput, StrangersAmongTheTablesAreATypeMismatch)
{
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    const TableObject table = createTable(kConfig);
    for (const _variant_t& stranger : {_variant_t(7L), _variant_t(static_cast<IDispatch*>(run.Get())),
                                       _variant_t(static_cast<IDispatch*>(nullptr)), _variant_t(L"patient")})
    {
        _variant_t array;
        array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
        array.vt = VT_ARRAY | VT_VARIANT;
        LONG first = 0;
        com::check(SafeArrayPutElement(array.parray, &first, const_cast<_variant_t*>(&stranger)));
        EXPECT_THAT(raised([&] { goCollection(*run.Get(), array); }),
                    isError(13, L"clsReplicate.go", L"Type mismatch"));
    }
    EXPECT_FALSE(local().hasPatientKey());
    go(*run.Get(), {table});
    EXPECT_TRUE(local().hasPatientKey());
}

} // namespace
