// After a message text has gone out behind the prompt, some phones echo it
// back before their reply, and some answer each line break inside it with a
// prompt "> " of its own. Neither is part of the reply.
#pragma once

#include <string>
#include <string_view>

namespace velk {

// `line`: a line that came after the text, with its CR LF, which the matcher
// took for neither a final reply nor a notice. `echoRest`: what of the text
// has not come back yet. True when the line is nothing but prompts, or is the
// next piece of the text (behind any prompts, before a Ctrl-Z the phone
// echoed as well); `echoRest` then moves on past that piece and the line
// breaks behind it. False for any other line, with `echoRest` as it was.
bool TakeBodyEcho(std::string_view line, std::string& echoRest);

}  // namespace velk
