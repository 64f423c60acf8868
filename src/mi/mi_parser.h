#pragma once
#include <string>

#include "mi/mi_record.h"

// Parses the results part of one engine record (the text after the record class and its comma,
// without the line end) into a top-level MiMap. On a syntax error, or a nesting or list too deep
// for the parser's stack, writes one MI log-stream line to standard error, e.g.
//   &"Syntax Error: syntax error at \"}\""
// and returns false with `out` unchanged. The scanner and parser state belong to the calling
// thread and nothing carries over from one call to the next.
bool parseMiRecord(const std::string& text, MiRecordPtr& out);
