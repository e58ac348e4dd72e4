#include <cstdio>

#include <wkagent/filter.h>

#include "core/bounded_copy.h"
#include "filter/decision.h"
#include "filter/read_statements.h"

WKELAFilter::WKELAFilter(char* fileName) : WKFilter(fileName) {
  if (ReadFilter() != 0) std::fprintf(stderr, "Error reading file %s\n", filterPath);
}

int WKELAFilter::ReadFilter() {
  if (ReadStatements<WKElaConfig>() == 0) return 0;
  wkagent::FormatBounded(message, "Cannot read config file %s\n", filterPath);
  LogStatus(message);
  return 1;
}

bool WKELAFilter::PassFilter(int operation, int condition, char* user, char* node) {
  return wkagent::DecideEvent<WKELAFilterStatement>(*this, [&](WKELAFilterStatement& statement) {
    return statement.PassStatement(operation, condition, user, node);
  });
}

void WKELAFilter::PrintFilter() { PrintStatements(); }
