#include <memory>
#include <new>

#include <wkagent/filter.h>

#include "core/bounded_copy.h"
#include "filter/decision.h"
#include "filter/dotted_name.h"
#include "filter/pointer_list.h"
#include "filter/statement_index.h"

namespace {

void MoveNodes(CLinkList& from, CLinkList& to) {
  while (tagLinkList* const node = from.GetHeadListNode()) to.AddListNode(node);
}

}  // namespace

WKFilter::WKFilter(char* fileName) : filterPath{}, message{}, alertsExcluded(false) {
  wkagent::FormatBounded(filterPath, "../config/%s", fileName == nullptr ? "" : fileName);
}

WKFilter::~WKFilter() {
  wkagent::ReleaseAlerts(alerts);
  wkagent::ReleaseStatements(statements);
}

int WKFilter::AddNode(void* data, int size) { return statements.AddNode(data, size); }

int WKFilter::GetNode(void* buffer, int size) { return statements.GetNode(buffer, size); }

char* WKFilter::ConvertToNDAPFormat(char* name) { return wkagent::ConvertTypedName(name, '.'); }

wkagent::StatementIndex* WKFilter::PreparedIndex(
    wkagent::StatementShape (*describe)(WKFilterStatement&)) {
  if (statements.GetCount() < wkagent::StatementIndex::kFewestStatements) return nullptr;
  if (index_ == nullptr) index_ = std::make_unique<wkagent::StatementIndex>();
  return index_->Prepare(statements, describe) ? index_.get() : nullptr;
}

const char* WKFilter::GetReadError() { return readError_.empty() ? nullptr : readError_.c_str(); }

void WKFilter::SetReadError(const char* error) { readError_ = error == nullptr ? "" : error; }

void WKFilter::ReplaceStatements(CLinkList& fresh) {
  CLinkList old;
  MoveNodes(statements, old);
  try {
    wkagent::ForEachObject<WKFilterStatement>(
        fresh, [&](WKFilterStatement* statement) { AddNode(&statement, sizeof(statement)); });
  } catch (const std::bad_alloc&) {
    statements.ClearList();
    MoveNodes(old, statements);
    statements.SetHead();
    wkagent::ReleaseStatements(fresh);
    throw;
  }
  wkagent::ReleaseStatements(old);
}

void WKFilter::PrintStatements() {
  wkagent::ForEachObject<WKFilterStatement>(
      statements, [](WKFilterStatement* statement) { statement->PrintfFilter(); });
}
