#pragma once

#include "Configuration.h"
#include "ForeignKeys.h"
#include "RunStop.h"
#include "Session.h"

#include <map>
#include <set>
#include <string>
#include <vector>

/// Foretells what the destination's foreign keys do in a run: rows that cannot be deleted because others refer to them,
/// rows of other tables that would go with them, and rows that a full copy cannot write because those that they refer
/// to are not there.
class ForeignKeyPreview
{
public:
    /// Reads the keys. Raises com::Error. Both arguments outlive this.
    ForeignKeyPreview(const Configuration& configuration, Databases& databases);

    /// Adds what is in the way of the configured table's full copy, and what that does to other tables. Raises
    /// com::Error.
    void preview(const TableConfiguration& table, TableStops& stops) const;

    /// The keys of the rows that a run deletes one by one, for each configured table.
    using DeletedKeys = std::vector<std::set<std::wstring>>;

    /// Adds what the deletion of these rows of the configured table `index` does to other rows. Raises com::Error.
    void previewDeletedRows(size_t index, const DeletedKeys& deleted, TableStops& stops) const;

    /// The rows of other tables that would go with a single row, or lose their reference to it; empty when there are
    /// none. Raises com::Error.
    std::string takenAlong(const std::string& table, const std::wstring& unid) const;

private:
    /// How many rows each key finds, in the order of the keys.
    using Found = std::map<const ForeignKey*, long long>;
    /// Whose rows a table has at the destination at some time of the run.
    enum class Rows
    {
        Destinations,
        Sources,
        /// The source's, and others of the destination's own.
        Mixed,
    };

    /// Looks for the rows that refer by `key` to rows that the table `index` loses, and, where they go too, for those
    /// that refer to them. `parents` is the condition under which a row of the key's parent is lost, empty for all of
    /// them, and `path` the keys that lead there.
    void findReferring(const ForeignKey& key, size_t index, const std::wstring& parents, const DeletedKeys& deleted,
                       std::vector<const ForeignKey*> path, Found& found) const;
    /// Looks for the rows that refer to rows of a table with these keys, at the time when `index` is done.
    void findReferringTo(const TableConfiguration& table, size_t index, const std::wstring& keys,
                         const DeletedKeys& deleted, Found& found) const;
    void tellFound(size_t index, const Found& found, TableStops& stops) const;
    /// Whether the run itself sees to the rows that refer to those that the table loses one by one.
    static bool isSettled(const ForeignKey& key, const TableConfiguration& table);
    /// Whether a full copy brings a table's rows back after the table `index` is done.
    bool isCopiedAfter(size_t index, const std::string& table) const;
    void previewInsertion(const ForeignKey& key, size_t index, TableStops& stops) const;
    void previewPatientKey(const ForeignKey& key, TableStops& stops) const;

    /// The index of the configured table whose run writes this one; the number of tables when there is none.
    size_t writerOf(const std::string& table) const;
    bool isCopiedWhole(size_t index) const;
    /// The rows of a table once the configured tables in front of `index` are done.
    Rows rowsBefore(size_t index, const std::string& table) const;
    bool isDropped(const ForeignKey& key) const;

    /// The child's rows under a condition on the name `child` that the run does not delete by itself, and those that
    /// refer to no row.
    long long countReferring(const ForeignKey& key, size_t index, const std::wstring& child,
                             const std::wstring& condition, const DeletedKeys& deleted) const;
    long long countOrphans(const ForeignKey& key, Rows child, Rows parent) const;

    const Configuration& configuration_;
    Databases& databases_;
    std::vector<ForeignKey> keys_;
};
