#pragma once

#include "Configuration.h"
#include "ForeignKeys.h"
#include "Session.h"

#include <optional>
#include <string>
#include <vector>

/// What is known of a table that both sides have, when a method is proposed for it.
struct TableFacts
{
    std::string name;
    /// How the sides' columns differ; empty when they are alike.
    std::string difference;
    bool hasKey = true;
    bool hasDate = true;
    /// Whether the component can describe its rows, which it must at the first conflict.
    bool isDescribed = true;
    long long sourceRows = 0;
    /// A column that keeps its rows from being copied one by one, and one that keeps it from being copied whole.
    std::string noRows = {};
    std::string noCopy = {};
    /// The other tables that refer to it by foreign keys.
    std::vector<std::string> referrers = {};
};

/// A table with its method, or, where the method is missing, one that stays out; and why.
struct ProposedTable
{
    TableConfiguration table;
    bool isLeftOut = false;
    std::vector<std::string> reasons;
};

/// A table that stays out, and one with its method.
ProposedTable leftOut(const std::string& name, std::string reason);
ProposedTable proposed(const std::string& name, enumReplicationMethod method, std::string reason);

/// Names in a sentence.
std::string joinedNames(const std::vector<std::string>& names);

/// The method for a table that is like any other. No I/O.
ProposedTable proposeMethod(const TableFacts& facts);

/// A configuration with the reason for each of its tables, in the order of the run, and with those that stay out.
struct Proposal
{
    Configuration configuration;
    std::vector<ProposedTable> tables;
    std::vector<ProposedTable> leftOut;
};

/// Proposes the prefixes of a configuration that has none, and tries them. Raises as proposeConfiguration.
void proposePrefixes(Configuration& configuration, Databases& databases);

/// Proposes the prefixes, where the configuration has none, and the tables. `configuration` has data sources, site and
/// roles. Raises com::Error when a database does not answer, and HostError when the pair cannot be used.
Proposal proposeConfiguration(Configuration configuration, Databases& databases);

/// The proposal as a commented configuration file.
std::string configurationText(const Proposal& proposal);

/// A configuration to fill in by hand, with the tables of an example.
std::string configurationTemplate(const Configuration& configuration);
