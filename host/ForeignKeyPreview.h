#pragma once

#include "Configuration.h"
#include "ForeignKeys.h"
#include "RunStop.h"
#include "Session.h"

/// Foretells where the destination's foreign keys are in the way of full copies: rows that cannot be deleted because
/// others refer to them, and rows that cannot be copied because those that they refer to are not there.
class ForeignKeyPreview
{
public:
    /// Reads the keys. Raises com::Error. Both arguments outlive this.
    ForeignKeyPreview(const Configuration& configuration, Databases& databases);

    /// Adds what is in the way of the configured table's full copy, and what that does to other tables. Raises
    /// com::Error.
    void preview(const TableConfiguration& table, TableStops& stops) const;

private:
    /// Whose rows a table has at the destination at some time of the run.
    enum class Rows
    {
        Destinations,
        Sources,
        /// The source's, and others of the destination's own.
        Mixed,
    };

    void previewDeletion(const ForeignKey& key, size_t index, TableStops& stops) const;
    void previewInsertion(const ForeignKey& key, size_t index, TableStops& stops) const;
    void previewPatientKey(const ForeignKey& key, TableStops& stops) const;

    /// The index of the configured table whose run writes this one; the number of tables when there is none.
    size_t writerOf(const std::string& table) const;
    bool isCopiedWhole(size_t index) const;
    /// The rows of a table once the configured tables in front of `index` are done.
    Rows rowsBefore(size_t index, const std::string& table) const;
    bool isDropped(const ForeignKey& key) const;

    /// The child's rows that refer to some row, and those of them that refer to none.
    long long countReferring(const ForeignKey& key, Rows child) const;
    long long countOrphans(const ForeignKey& key, Rows child, Rows parent) const;

    const Configuration& configuration_;
    Databases& databases_;
    std::vector<ForeignKey> keys_;
};
