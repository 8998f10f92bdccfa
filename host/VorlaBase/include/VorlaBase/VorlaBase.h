#pragma once
// Umbrella header of the host's base library.
#include <VorlaBase/AccessModeSet.h>
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/GrabResult.h>
#include <VorlaBase/IStreamGrabber.h>
#include <VorlaBase/ITransportLayer.h>
#include <VorlaBase/IVorlaDevice.h>
#include <VorlaBase/InfoBase.h>
#include <VorlaBase/InfoImpl.h>
#include <VorlaBase/Logging.h>
#include <VorlaBase/PixelType.h>
#include <VorlaBase/PixelTypeMapper.h>
#include <VorlaBase/TlFactory.h>
#include <VorlaBase/TlInfo.h>
#include <VorlaBase/VorlaFolders.h>
#include <VorlaBase/WaitObjectEx.h>
