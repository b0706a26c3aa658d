#pragma once

#include "recording_object.h"

/// ADODB.Connection.
class RecordingConnection final : public RecordingObject
{
public:
    explicit RecordingConnection(std::shared_ptr<RecordingJournal> journal);
    ~RecordingConnection() override;

    std::wstring title() const override;
    const std::wstring& label() const { return label_; }
    bool isOpen() const { return open_; }

private:
    void open(const RecordingArguments& arguments);
    void close();
    void requireOpen() const;

    std::wstring label_;
    bool open_ = false;
    _variant_t cursorLocation_{2L};
    _variant_t connectionTimeout_{15L};
};

/// ADODB.Parameter.
class RecordingParameter final : public RecordingObject
{
public:
    RecordingParameter(std::shared_ptr<RecordingJournal> journal, const RecordingArguments& arguments);

    std::wstring title() const override;
    /// Name, type, direction, size and value.
    std::wstring description() const;
    const _variant_t& value() const { return value_; }
    void setValue(const _variant_t& value) { value_ = value; }
    bool isNamed(const std::wstring& name) const;

private:
    _variant_t name_;
    _variant_t type_;
    _variant_t direction_;
    _variant_t size_;
    _variant_t value_;
    _variant_t precision_{0L};
    _variant_t numericScale_{0L};
};

/// A command's Parameters.
class RecordingParameters final : public RecordingObject
{
public:
    explicit RecordingParameters(std::shared_ptr<RecordingJournal> journal);

    std::wstring title() const override { return L"Command.Parameters"; }
    size_t count() const { return items_.size(); }
    RecordingParameter& at(size_t index) { return *items_[index].Get(); }

private:
    void append(const VARIANT& parameter);
    _variant_t item(const VARIANT& index) const;

    std::vector<Microsoft::WRL::ComPtr<RecordingParameter>> items_;
};

/// ADODB.Command.
class RecordingCommand final : public RecordingObject
{
public:
    explicit RecordingCommand(std::shared_ptr<RecordingJournal> journal);
    ~RecordingCommand() override;

    std::wstring title() const override;

    /// Sends the command and sets its output parameters. Fails with 3709 without an open connection.
    AdoAnswer run();

private:
    _variant_t execute(const RecordingArguments& arguments);
    void setActiveConnection(const VARIANT& value);
    std::wstring sentText() const;

    Microsoft::WRL::ComPtr<RecordingConnection> connection_;
    Microsoft::WRL::ComPtr<RecordingParameters> parameters_;
    _variant_t commandTimeout_{30L};
    _variant_t prepared_{false};
    _variant_t commandType_{8L};
    _variant_t commandText_{L""};
};

/// Where a recordset stands in its rows.
struct RecordingCursor
{
    AdoRows rows;
    size_t position = 0;
    bool open = false;

    bool atEnd() const { return position >= rows.rows.size(); }
};

/// ADODB.Recordset.
class RecordingRecordset final : public RecordingObject
{
public:
    explicit RecordingRecordset(std::shared_ptr<RecordingJournal> journal);
    /// An open one.
    RecordingRecordset(std::shared_ptr<RecordingJournal> journal, AdoRows rows);
    ~RecordingRecordset() override;

private:
    void open(const RecordingArguments& arguments);
    void close();
    void moveNext();
    const RecordingCursor& requireOpen() const;
    _variant_t newFields();

    std::shared_ptr<RecordingCursor> cursor_ = std::make_shared<RecordingCursor>();
    _variant_t cursorLocation_{2L};
};
