#include "platform/data/command.h"

#include <algorithm>
#include <utility>

#include "connection_impl.h"
#include "recordset_impl.h"
#include "sql_text.h"
#include "sqlite_error.h"

namespace pellago {
namespace {

std::vector<std::string_view> Names(const std::vector<Parameter>& parameters) {
    std::vector<std::string_view> names;
    names.reserve(parameters.size());
    for (const auto& parameter : parameters) names.emplace_back(parameter.name);
    return names;
}

/// The value as the parameter's declared type has it; Null stays Null.
Variant Typed(const Parameter& parameter) {
    const auto& value = parameter.value;
    if (IsNull(value)) return value;
    if (parameter.type == ParameterType::kText) return CStr(value);
    if (parameter.type == ParameterType::kInteger) return CLng(value);
    return CDate(value);
}

}  // namespace

struct Command::State {
    std::shared_ptr<Connection> connection;
    std::string name;
    std::string text;
    std::vector<Parameter> parameters;
    std::string numbered_text;
};

Command::Command(std::shared_ptr<Connection> connection, std::string name, std::string text,
                 std::vector<Parameter> parameters)
    : state_(std::make_unique<State>(
          State{std::move(connection), std::move(name), std::move(text), std::move(parameters), {}})) {
    state_->numbered_text = data::NumberParameters(state_->text, Names(state_->parameters));
}

Command::~Command() = default;

const std::string& Command::Name() const { return state_->name; }
const std::string& Command::CommandText() const { return state_->text; }
const std::vector<Parameter>& Command::Parameters() const { return state_->parameters; }
const std::shared_ptr<Connection>& Command::ActiveConnection() const { return state_->connection; }

Parameter& Command::operator[](std::string_view name) {
    auto& parameters = state_->parameters;
    const auto found = std::find_if(parameters.begin(), parameters.end(), [&](const Parameter& parameter) {
        return data::SameName(data::BareName(parameter.name), data::BareName(name));
    });
    if (found == parameters.end())
        throw RunTimeError(data_error::kNoSuchItem, data::kErrorSource,
                           "\"" + state_->name + "\" has no parameter \"" + std::string(name) + "\".");
    return *found;
}

std::unique_ptr<Recordset> Command::Execute() {
    state_->connection->Open();
    std::vector<Variant> values;
    values.reserve(state_->parameters.size());
    for (const auto& parameter : state_->parameters) values.push_back(Typed(parameter));

    auto& connection = *state_->connection->state_;
    auto& statement = connection.Prepared(state_->numbered_text);
    auto result = std::make_unique<Recordset::State>();
    result->connection = state_->connection;
    result->is_result = true;
    result->rows = connection.Run(statement, values);
    result->columns = statement.ResultColumns();
    return std::unique_ptr<Recordset>(new Recordset(std::move(result)));
}

}  // namespace pellago
