#pragma once

#include "QuinmarkRepDLL.h"
#include "ado/Recordset.h"

#include <comdef.h>
#include <string>
#include <wrl/client.h>

/// A row that replication may not settle by itself: its header, the columns that differ, and its resolution.
///
/// A new conflict is saved once, into replication_conflict and replication_conflict_data of the local database; later a
/// host loads it again, sets a resolution and resolves it. Failures are raised with the member's name as source
/// ("clsConflict.save"); what validation or a resolution refuses is a result, with the reason in sErrorMessage.
class clsConflict
{
public:
    /// The most characters that the procedures take: a longer text fails (3421).
    static constexpr long kTableSize = 50;
    static constexpr long kKeyInfoSize = 125;
    static constexpr long kFieldSize = 50;
    static constexpr long kDataSize = 3500;

    /// Fills the header from the current row of a query on replication_conflict; the differing columns are not loaded.
    /// A failure leaves the fields that were read before it.
    void loadFromRs(const ado::Recordset& rs);

    /// Validates, then inserts header and differing columns. Returns the new id as text, or the 16-bit -1 for an
    /// invalid conflict. Raises 0x800403E8 for a conflict that exists already.
    _variant_t save();

    /// Whether everything that a conflict needs is there; else the reasons are in sErrorMessage. Writes nothing.
    bool edit();

    /// Applies iResolutionType as far as the site may, and removes the conflict's rows once it is settled. False when
    /// the resolution is refused.
    bool resolve();

    const _variant_t& vConflictId() const { return vConflictId_; }
    /// For the component alone: hosts get their ids from the database.
    void setConflictId(const _variant_t& vConflictId) { vConflictId_ = vConflictId; }

    /// The word True once loaded or saved, else False.
    std::wstring bExists() const;
    const std::wstring& sErrorMessage() const { return sErrorMessage_; }

    /// Key of the row in a table that is keyed by number, else 0.
    long lPatientId = 0;
    /// Key of the row in a table that is keyed by GUID, else Empty.
    _variant_t vGuid;
    /// An enumConflictType, or 0.
    long iConflictType = 0;
    std::wstring sKeyInfo;
    /// A collection of clsConflictData; null until one is set.
    Microsoft::WRL::ComPtr<IDispatch> colData;
    DATE dSource = 0;
    DATE dDestination = 0;
    /// An enumResolution, or 0.
    long iResolutionType = 0;
    DATE dNextReplicate = 0;
    std::wstring sTable;

private:
    void insertHeader();
    void insertData(const _variant_t& item) const;
    void copyFromSource() const;
    void deleteAtDestination() const;
    void removeRows() const;

    _variant_t vConflictId_;
    bool bExists_ = false;
    std::wstring sErrorMessage_;
};
