#pragma once

// What nearly every test of a module needs: the standard library, GoogleTest, images, and the helpers of this folder.

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/image/MemoryImage.h>
#include <rix/settings/Settings.h>

#include "Failures.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageSamples.h"
#include "Levels.h"
#include "Sanitizers.h"
#include "Storages.h"
