#ifndef TESSELU_TOOLS_TESTCARD_H
#define TESSELU_TOOLS_TESTCARD_H

#include <string>

#include "Wipe.h"

namespace tool {

struct TestCardOptions {
    std::string output;
    unsigned kind = 1;  ///< 1 colour bars with a moving square, 2 a moving zone plate
    long frames = 50;
    FrameSize size{1280, 720};
    AVRational rate{25, 1};
};

/// Writes a progressive clip of generated pictures.
void RunTestCard(const TestCardOptions& options);

}  // namespace tool

#endif  // TESSELU_TOOLS_TESTCARD_H
