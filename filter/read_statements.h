#ifndef WKAGENT_FILTER_READ_STATEMENTS_H
#define WKAGENT_FILTER_READ_STATEMENTS_H

#include <wkagent/filter.h>

template <typename Reader>
int WKFilter::ReadStatements() {
  Reader reader;
  reader.InitializeLogMessage(logCallback);
  const int result = reader.ReadFile(filterPath);
  SetReadError(reader.GetReadError());
  if (result != 0) return 1;
  CLinkList fresh;
  reader.GetFilterStatements(fresh);
  ReplaceStatements(fresh);
  return 0;
}

#endif  // WKAGENT_FILTER_READ_STATEMENTS_H
