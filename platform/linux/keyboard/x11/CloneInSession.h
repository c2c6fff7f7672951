#pragma once

#include <string>

/// What an X server makes of a keyboard's clone: it knows nothing of the two belonging together,
/// and gives the newcomer the layout and the repeat rate of its configuration.
namespace kivo::keyboard::x11 {

/// Gives a clone the layout and the repeat rate that the session has for the keyboard; both are
/// named by the paths of their device nodes. False when the server of the session has the keyboard
/// but not yet the clone; nothing is to be done, and the answer is true, where there is no server
/// that has the keyboard. Waits for the server's answers.
bool LikenClone(const std::string& clone, const std::string& keyboard);

}  // namespace kivo::keyboard::x11
