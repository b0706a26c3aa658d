// Brings a table of the destination in line with the source by walking through both in the order of the key, once: the
// least that a client can do that has two connections. Rows are written with one statement each. The key is an integer
// column; as in replication, rows with the same mod_date count as equal.
//
//   bench_merge_join SOURCE DESTINATION TABLE KEY       (connection strings)
#include "../protocol.h"
#include "Odbc.h"

#include <cstdio>
#include <stdexcept>

namespace {

std::wstring literal(const odbc::Cursor& row, size_t column)
{
    if (row.isNull(column))
        return L"Null";
    std::wstring quoted = L"'";
    for (const wchar_t* character = row.text(column); *character; ++character) {
        quoted += *character;
        if (*character == L'\'')
            quoted += L'\'';
    }
    return quoted + L"'";
}

class MergeJoin
{
public:
    MergeJoin(const std::wstring& source, const std::wstring& destination, std::wstring table, const std::wstring& key)
        : table_(std::move(table)),
          source_(source),
          destination_(destination),
          writer_(destination),
          sourceRows_(source_, L"select * from " + table_ + L" order by " + key),
          destinationRows_(destination_, L"select " + key + L", mod_date from " + table_ + L" order by " + key),
          key_(sourceRows_.indexOf(key)),
          date_(sourceRows_.indexOf(L"mod_date"))
    {
    }

    void run();
    std::string counters() const
    {
        return "added=" + std::to_string(added_) + " updated=" + std::to_string(updated_) +
               " deleted=" + std::to_string(deleted_);
    }

private:
    static constexpr size_t kDestinationKey = 0;
    static constexpr size_t kDestinationDate = 1;

    long long sourceKey() const { return std::stoll(sourceRows_.text(key_)); }
    long long destinationKey() const { return std::stoll(destinationRows_.text(kDestinationKey)); }
    bool differs() const
    {
        return std::wstring_view(sourceRows_.text(date_)) != destinationRows_.text(kDestinationDate);
    }
    std::wstring whereKey(const odbc::Cursor& row, size_t column) const
    {
        return L" where " + sourceRows_.name(key_) + L" = " + literal(row, column);
    }
    void add();
    void update();
    void remove();

    std::wstring table_;
    odbc::Connection source_;
    odbc::Connection destination_;
    odbc::Connection writer_;
    odbc::Cursor sourceRows_;
    odbc::Cursor destinationRows_;
    size_t key_;
    size_t date_;
    long added_ = 0;
    long updated_ = 0;
    long deleted_ = 0;
};

void MergeJoin::run()
{
    bool inSource = sourceRows_.next();
    bool inDestination = destinationRows_.next();
    while (inSource || inDestination) {
        const bool lacking = inSource && (!inDestination || sourceKey() < destinationKey());
        const bool surplus = inDestination && (!inSource || destinationKey() < sourceKey());
        if (lacking)
            add();
        else if (surplus)
            remove();
        else if (differs())
            update();
        if (!surplus)
            inSource = sourceRows_.next();
        if (!lacking)
            inDestination = destinationRows_.next();
    }
}

void MergeJoin::add()
{
    std::wstring names;
    std::wstring values;
    for (size_t column = 0; column < sourceRows_.columnCount(); ++column) {
        names += (column > 0 ? L", " : L"") + sourceRows_.name(column);
        values += (column > 0 ? L", " : L"") + literal(sourceRows_, column);
    }
    writer_.execute(L"insert into " + table_ + L" (" + names + L") values (" + values + L")");
    ++added_;
}

void MergeJoin::update()
{
    std::wstring assignments;
    for (size_t column = 0; column < sourceRows_.columnCount(); ++column)
        assignments += (column > 0 ? L", " : L"") + sourceRows_.name(column) + L" = " + literal(sourceRows_, column);
    writer_.execute(L"update " + table_ + L" set " + assignments + whereKey(sourceRows_, key_));
    ++updated_;
}

void MergeJoin::remove()
{
    writer_.execute(L"delete from " + table_ + whereKey(destinationRows_, kDestinationKey));
    ++deleted_;
}

} // namespace

int wmain(int count, wchar_t* words[])
try {
    if (count != 5)
        throw std::runtime_error("usage: SOURCE DESTINATION TABLE KEY");
    beginWork();
    MergeJoin join(words[1], words[2], words[3], words[4]);
    join.run();
    endWork(join.counters());
    return 0;
}
catch (const std::exception& error) {
    printf("failed: %s\n", error.what());
    return 1;
}
