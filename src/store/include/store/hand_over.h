#pragma once

namespace pellago {

class CDBUpdate;
class DE1;
class Statements;

/// Gives an engine the recordsets and commands of a run, one statement of `run` for each. Providers and
/// channels are read afresh.
///
/// The file's write lock is taken once to see that it can be: better now than after the first feed is
/// fetched.
void HandOver(Statements& run, CDBUpdate& engine, const DE1& database);

}  // namespace pellago
