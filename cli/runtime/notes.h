// What a run tells on stderr besides failures and --stats: notes and progress, which --quiet
// silences. The setting is process-wide, as stderr is: progress tickers and the library's
// reports have no run to ask.
#pragma once

#include <string>

namespace kly {
namespace cli {

void SetQuiet(bool quiet);
bool Quiet();

// "kly: note: <text>", unless quiet.
void Note(const std::string& text);

// "kly: warning: <text>", unless quiet: something of the input that the file leaves out or
// draws otherwise than asked.
void Warn(const std::string& text);

}  // namespace cli
}  // namespace kly
