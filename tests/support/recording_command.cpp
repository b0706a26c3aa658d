#include "recording_classes.h"

#include "com/convert.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr DISPID kFirstCommandId = 2200;
constexpr DISPID kFirstParameterId = 3300;
constexpr DISPID kFirstParametersId = 4400;
constexpr long kStoredProcedure = 4;

} // namespace

RecordingParameter::RecordingParameter(std::shared_ptr<RecordingJournal> shared, const RecordingArguments& arguments)
    : RecordingObject(std::move(shared), L"Parameter", kFirstParameterId),
      name_(arguments.at(0)),
      type_(arguments.at(1)),
      direction_(arguments.at(2)),
      size_(arguments.at(3)),
      value_(arguments.at(4))
{
    property(L"Name", name_);
    property(L"Type", type_);
    property(L"Direction", direction_);
    property(L"Size", size_);
    property(L"Value", value_);
    property(L"Precision", precision_);
    property(L"NumericScale", numericScale_);
}

std::wstring RecordingParameter::title() const
{
    return L"Parameter(" + recordedText(name_) + L")";
}

std::wstring RecordingParameter::description() const
{
    std::wstring text = recordedText(name_);
    for (const _variant_t* part : {&type_, &direction_, &size_, &value_})
        text += L", " + recordedText(*part);
    return text;
}

bool RecordingParameter::isNamed(const std::wstring& name) const
{
    return lstrcmpiW(com::toText(name_).c_str(), name.c_str()) == 0;
}

RecordingParameters::RecordingParameters(std::shared_ptr<RecordingJournal> shared)
    : RecordingObject(std::move(shared), L"Parameters", kFirstParametersId)
{
    property(L"Count", [this](const RecordingArguments&) { return _variant_t(static_cast<long>(items_.size())); });
    property(L"Item", [this](const RecordingArguments& arguments) { return item(arguments.at(0)); });
    method(L"Append", [this](const RecordingArguments& arguments) { return append(arguments.at(0)), _variant_t(); });
}

void RecordingParameters::append(const VARIANT& parameter)
{
    auto* object = dynamic_cast<RecordingParameter*>(RecordingObject::behind(parameter));
    if (!object)
        throwAdoError(3001);
    items_.emplace_back(object);
}

_variant_t RecordingParameters::item(const VARIANT& index) const
{
    const bool byName = index.vt == VT_BSTR;
    const std::wstring name = byName ? com::toText(index) : std::wstring();
    const long position = byName ? -1 : com::toInt32(index);
    for (size_t candidate = 0; candidate < items_.size(); ++candidate)
        if (byName ? items_[candidate]->isNamed(name) : static_cast<long>(candidate) == position)
            return _variant_t(static_cast<IDispatch*>(items_[candidate].Get()));
    throwAdoError(3265);
}

RecordingCommand::RecordingCommand(std::shared_ptr<RecordingJournal> shared)
    : RecordingObject(std::move(shared), L"Command", kFirstCommandId)
{
    using Arguments = RecordingArguments;
    parameters_ = com::makeObject<RecordingParameters>(journal());
    property(L"CommandTimeout", commandTimeout_);
    property(L"Prepared", prepared_);
    property(L"CommandType", commandType_);
    property(L"CommandText", commandText_);
    property(
        L"ActiveConnection",
        [this](const Arguments&) { return _variant_t(static_cast<IDispatch*>(connection_.Get())); },
        [this](const VARIANT& value) { setActiveConnection(value); });
    property(L"Parameters",
             [this](const Arguments&) { return _variant_t(static_cast<IDispatch*>(parameters_.Get())); });
    method(L"CreateParameter",
           [this](const Arguments& arguments) { return ownedObject(new RecordingParameter(journal(), arguments)); });
    method(L"Execute", [this](const Arguments& arguments) { return execute(arguments); });
}

RecordingCommand::~RecordingCommand()
{
    journal()->note(L"release " + title());
}

std::wstring RecordingCommand::title() const
{
    return connection_ ? L"Command(" + connection_->label() + L")" : L"Command";
}

AdoAnswer RecordingCommand::run()
{
    if (!connection_ || !connection_->isOpen())
        throwAdoError(3709);
    AdoAnswer answer = journal()->run(connection_->label(), com::toText(commandText_), sentText());
    for (const auto& [index, value] : answer.outputs)
        if (static_cast<size_t>(index) < parameters_->count())
            parameters_->at(static_cast<size_t>(index)).setValue(value);
    return answer;
}

_variant_t RecordingCommand::execute(const RecordingArguments& arguments)
{
    AdoAnswer answer = run();
    VARIANT& affected = arguments.at(0);
    if (affected.vt == (VT_BYREF | VT_I4))
        *affected.plVal = answer.affected;
    if (affected.vt == (VT_BYREF | VT_VARIANT))
        *static_cast<_variant_t*>(affected.pvarVal) = answer.affected;
    return ownedObject(new RecordingRecordset(journal(), std::move(answer.rows)));
}

void RecordingCommand::setActiveConnection(const VARIANT& value)
{
    auto* object = dynamic_cast<RecordingConnection*>(RecordingObject::behind(value));
    const bool nothing = value.vt == VT_DISPATCH && !value.pdispVal;
    if (!object && !nothing)
        throwAdoError(3001);
    connection_ = object;
}

std::wstring RecordingCommand::sentText() const
{
    const std::wstring text = com::toText(commandText_);
    if (parameters_->count() == 0 && com::toInt32(commandType_) != kStoredProcedure)
        return text;
    std::wstring values;
    for (size_t index = 0; index < parameters_->count(); ++index)
        values += (index == 0 ? L"" : L", ") + recordedText(parameters_->at(index).value());
    return text + L"(" + values + L")";
}
