#pragma once

#include <comdef.h>
#include <string>

/// One replication run of this site: its control record in the local database, the interval, and the tables in it.
///
/// Failures are raised with the member's name as source ("clsReplicate.go"); `SetReady` and `initNextRun` also leave
/// them in sErrorMessage and set bError, `go` leaves the description in sErrorMessage.
class clsReplicate
{
public:
    /// Marks the control record of every site ready.
    void SetReady();

    /// Checks program (unless it is "laptop") and databases, loads the control record and the interval. A record that
    /// is not ready, or in error, is put off by `iFreq` seconds.
    void initNextRun(short iFreq, const std::wstring& sPgmVersion);

    /// Runs every table object of `col` in the interval, then closes the run. `col` is anything enumerable or an array;
    /// an element that is no table object raises 13. A failure leaves FK_patient_dentist dropped.
    void go(const _variant_t& col);

    bool bError() const { return bError_; }
    bool bReady() const { return bReady_; }
    DATE dLastReplicate() const { return dLastReplicate_; }
    DATE dNextReplicate() const { return dNextReplicate_; }
    const std::wstring& sErrorMessage() const { return sErrorMessage_; }

private:
    void reloadErrorReady();
    void getReplicationDates();
    void updateLastReplicateDate();
    void updateNextTimestamp();
    void runTable(const _variant_t& element);
    [[noreturn]] void failStep(const wchar_t* sSource);

    DATE dLastReplicate_ = 0;
    DATE dNextReplicate_ = 0;
    bool bError_ = false;
    bool bReady_ = false;
    short iFreq_ = 0;
    std::wstring sErrorMessage_;
};
