#pragma once

#include <string>

#include "OrvPlatform/ChannelLayout.h"

/// Names of channel labels and layout tags in the host's language: what its string table has for the platform's name of
/// the code, empty where it has nothing. Codes without a platform name are not looked up.

std::string localizedChannelLabel(AudioChannelLabel label);
std::string localizedChannelLayoutTag(AudioChannelLayoutTag tag);
