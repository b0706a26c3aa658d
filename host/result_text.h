#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// Rows of a stop that a person is shown; with --json there are all.
inline constexpr size_t kShownRows = 100;

/// How many rows of a stop are not shown, and where they are; empty when all are.
std::string unshownRows(const nlohmann::ordered_json& rows);

/// A value of a result for a person: a date with a blank between day and time, any other text as it stands, nothing for
/// null.
std::string resultText(const nlohmann::ordered_json& value);

/// What a reason against a run is about: its table, or the command before the run.
std::string stopHeading(const nlohmann::ordered_json& stop);

/// The names of the tables that a run did not do, with commas between them.
std::string tablesNotDone(const nlohmann::ordered_json& tables);

/// An error of a result in words: number in decimal and hexadecimal and source where it has them, its text, and on a
/// line of its own what to do.
std::string errorText(const nlohmann::ordered_json& error);

/// A time in UTC, as results have it, by this machine's clock: 2026-11-21 20:30:05. Another text stays as it is.
std::string localTime(const nlohmann::ordered_json& utc);

/// The time that it will be in so many seconds, in the same form.
std::string localTimeIn(std::chrono::seconds wait);

/// A time in UTC, as results have it, in seconds since 1601; nothing for another text.
std::optional<long long> secondsOf(const nlohmann::ordered_json& utc);

/// A duration: 0.3 s, 12 s, 3 min 5 s, 2 h 10 min.
std::string durationText(std::chrono::milliseconds duration);
