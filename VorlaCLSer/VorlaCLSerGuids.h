#pragma once
// The product and version GUIDs of the plug-in's own parameter descriptions (the device's
// transport-layer node map and the stream grabber's node map carry the same pair).
#define VORLA_CLSER_PRODUCT_GUID "5B0E6C1A-7D2F-4E38-9A61-3C4B8D9E0F12"
#define VORLA_CLSER_VERSION_GUID "A3C7E915-2B4D-4F60-8E1A-6D5C7B9F0E34"
