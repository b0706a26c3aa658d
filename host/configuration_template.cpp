#include "Configuration.h"

std::string configurationTemplate()
{
    return R"(# Which site this machine is: "offices" or "laptop". It is the key of its row in replication_control.
site = "laptop"

# Which side the machine's own database is: "source" or "destination".
local = "destination"

# The version that replication compares with the database's ReplicationVersion; "laptop" skips the check.
program_version = "laptop"

# Seconds until the next attempt.
frequency = 900

# A run that would delete more than this percentage of a table's destination rows stops before it writes anything.
max_delete = 20
# The same for a run that would overwrite more than this percentage of them: the wrong direction, or a wrong clock.
max_update = 50

# The two databases: an ODBC data source for 32-bit programs, the text that is put in front of a table's name to reach
# it from the other database, and where the password of the login quinmarkapp_user comes from:
# "env:NAME", "file:PATH", "credential:NAME" (Windows Credential Manager) or "prompt".
[source]
dsn = "QuinmarkOffice"
prefix = "office.dbo."
password = "env:QUINMARK_PASSWORD"

[destination]
dsn = "QuinmarkLaptop"
prefix = "laptop.dbo."
password = "env:QUINMARK_PASSWORD"

# The component's log. Level 1 logs every statement, 2 the summary of each table and above, 4 discrepancies and errors.
[log]
file = "quinrep-component.log"
level = 2

# The way a run treats an error that the last run recorded for conflicts alone: "stop" waits for a person, who clears it
# with `quinrep run --reset-error`; "continue" clears it, since rows that wait for a decision are left alone anyway.
[run]
on_conflicts = "stop"

# The tables in their order. Methods: "full_copy", "one_way", "one_way_deletes" (may have a dependent table), "two_way",
# "two_way_no_deletes", "computer_type", "by_key" (with key, and deletes = "with_updates", "skip" or "only").
[[table]]
name = "ada_code"
method = "full_copy"

[[table]]
name = "patient"
method = "one_way_deletes"

[[table]]
name = "chart_option"
method = "one_way_deletes"
dependent = "chart_option_setting"

[[table]]
name = "dentist_company"
method = "by_key"
key = "dc_id"
deletes = "with_updates"
max_delete = 50
)";
}
