#ifndef TESSELU_TESSELU_H
#define TESSELU_TESSELU_H

/// \file
/// Everything that the library offers.

#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/filter/DeepDefocus.h>
#include <TesselU/filter/DeepDefocusMT.h>
#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>
#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/foundation/Event.h>
#include <TesselU/foundation/Export.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/RCObject.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/foundation/Version.h>
#include <TesselU/gradient/GradientGenerator.h>
#include <TesselU/image/FieldHelpers.h>
#include <TesselU/image/FileIO.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageCompare.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageFormat.h>
#include <TesselU/image/ImageImport.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/image/Rectangle.h>
#include <TesselU/key/ChromaKeyerYUV.h>
#include <TesselU/key/GenerateCrCbGradient.h>
#include <TesselU/key/KeyerRGB.h>
#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>
#include <TesselU/overlay/Mixup.h>
#include <TesselU/tone/BaseColorCorrection.h>
#include <TesselU/tone/ColorAdjustment.h>
#include <TesselU/tone/CubeLUT.h>
#include <TesselU/tone/Histogram.h>
#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/LookUpTable3D.h>
#include <TesselU/tone/Posterize.h>
#include <TesselU/tone/PosterizeLUT.h>
#include <TesselU/vector/Operations3D.h>
#include <TesselU/vector/Transform3D.h>

#endif  // TESSELU_TESSELU_H
