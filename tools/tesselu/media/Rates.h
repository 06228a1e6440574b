#ifndef TESSELU_TOOLS_MEDIA_RATES_H
#define TESSELU_TOOLS_MEDIA_RATES_H

#include "media/Libav.h"

namespace tool {

/// A rate as the field writes it: 23.976 is 24000/1001, and 30.01 measured on a camera is 30.
AVRational StandardRate(double rate);

/// The same, for one that is known as a fraction. What is near no standard rate stays as it is.
AVRational StandardRate(AVRational rate);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RATES_H
