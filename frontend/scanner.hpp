// The scanner: preprocessed script text (seen as EUC-JP) to tokens for the grammar.
#pragma once
#include <string>
#include <string_view>

namespace marl {

// Opens a script file: line 1, the path entered in the file-name list and made
// current. False when the file cannot be read (the scanner then sees no input).
bool openSourcePath(const std::string &path);
// The same for text held in memory; its file name is "", which messages treat as none.
void openSourceText(std::string_view text);
// Drops the current source.
void closeSource();

int currentLine();
int currentFileIndex();

// Called by the grammar right after a "/" in operand position: the next token
// is the body of a regular-expression literal.
void enterRegexMode();

}  // namespace marl
