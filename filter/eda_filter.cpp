#include <cstdio>

#include <wkagent/filter.h>

#include "filter/decision.h"
#include "filter/read_statements.h"

WKEDAFilter::WKEDAFilter(char* fileName) : WKFilter(fileName) {
  if (ReadFilter() != 0) std::fprintf(stderr, "Error reading file %s\n", filterPath);
}

int WKEDAFilter::ReadFilter() { return ReadStatements<WKEdaConfig>(); }

bool WKEDAFilter::PassFilter(int operation, char* user, char* node, char* object, char* className,
                             char* attribute, char* value) {
  return wkagent::DecideEvent<WKEDAFilterStatement>(*this, [&](WKEDAFilterStatement& statement) {
    return statement.PassStatement(operation, user, node, object, className, attribute, value);
  });
}

void WKEDAFilter::PrintFilter() { PrintStatements(); }
