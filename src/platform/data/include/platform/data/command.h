#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/connection.h"
#include "platform/data/recordset.h"

namespace pellago {

enum class ParameterType { kText, kInteger, kDate, kTimeStamp };

/// A named input parameter; `size` is the declared size of a text parameter in characters, 0 for the others.
struct Parameter {
    std::string name;  ///< as declared, with or without a leading "@"
    ParameterType type = ParameterType::kText;
    std::int32_t size = 0;
    Variant value;
};

/// A statement with parameters, prepared at its first execution and kept prepared while its connection is
/// open. In its text a parameter stands as "@Name" or, where declared without "@", also bare; back-quoted and
/// bracketed names and True/False are understood.
class Command final {
public:
    Command(std::shared_ptr<Connection> connection, std::string name, std::string text,
            std::vector<Parameter> parameters);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    const std::string& Name() const;
    const std::string& CommandText() const;
    const std::vector<Parameter>& Parameters() const;
    const std::shared_ptr<Connection>& ActiveConnection() const;

    /// The parameter of that name, "@" and case left aside. Throws RunTimeError data_error::kNoSuchItem.
    Parameter& operator[](std::string_view name);

    /// Runs the command with the parameters' present values; the result holds all rows, and none for a
    /// statement that returns none. Opens the connection when it is closed.
    std::unique_ptr<Recordset> Execute();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago
