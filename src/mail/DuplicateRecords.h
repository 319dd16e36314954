#pragma once

#include <cstddef>

class ResultTable;

// Deletes repeated records from a mail-list result table. Records repeat when
// their first three fields (KeyWord, DisplayName, EmailAddress) are equal;
// `noColumn` is the index of the record number field "No".
//
// The rule is: for each record, in table order, every other record with the
// same three fields and a different No is deleted. So in each group of equal
// records the first survives, together with any record carrying the first
// one's No. One pass that remembers the first No of every group and keeps a
// record only when its No equals it gives exactly that result, in linear time
// instead of a pass over the table per record.
void DeleteRepeatedRecords(ResultTable& table, size_t noColumn);
