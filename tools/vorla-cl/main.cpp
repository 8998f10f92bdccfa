// vorla-cl: the command-line face of the camera SDK's transport layers.
#include "CameraSession.h"
#include "CommandLine.h"
#include "FeatureCommand.h"
#include "GrabCommand.h"
#include "InfoCommand.h"
#include "ListCommand.h"
#include "NodeMapView.h"
#include "ToolError.h"
#include "WatchCommand.h"
#include "XmlCommand.h"

#include <Base/GCException.h>
#include <VorlaBase/Logging.h>

#include <cstdio>

namespace {

using namespace VorlaCl;

int RunCameraCommand(const CCommandLine& line) {
  const CCameraSelector selector(line.m_Camera, line.m_First);
  CCameraSession session(selector);
  if (line.m_Verb == "xml")
    return CXmlCommand::Run(session, line.m_Output);
  if (line.m_Verb == "info")
    return CInfoCommand::Run(session);
  if (line.m_Verb == "watch") {
    CWatchCommand::SOptions options;
    options.m_Feature = line.m_Names.empty() ? "" : line.m_Names.front();
    options.m_Interval = std::chrono::milliseconds(line.m_IntervalMs);
    options.m_Count = line.m_Count;
    return CWatchCommand::Run(session, options);
  }
  Vorla::IVorlaDevice& device = session.OpenDevice();
  if (line.m_Verb == "grab") {
    SGrabOptions options;
    options.m_Count = line.m_Count;
    options.m_Pattern = line.m_Output;
    options.m_Buffers = line.m_Buffers;
    options.m_TimeoutMs = line.m_TimeoutMs;
    return RunGrab(device, options);
  }
  const CNodeMapView view(device.GetNodeMap(), device.GetTLNodeMap());
  const CFeatureCommand features(view);
  if (line.m_Verb == "features")
    return features.Features(line.m_Names.empty() ? "" : line.m_Names.front(), line.m_All);
  if (line.m_Verb == "get")
    return features.Get(line.m_Names);
  return features.Set(line.m_Names);
}

int Run(int argc, char** argv) {
  const CCommandLine line(argc, argv);
  if (line.m_Help) {
    std::fputs(CCommandLine::Usage(), stdout);
    return ExitSuccess;
  }
  if (!line.m_Log.empty())
    vxlog::LogSetFilter(line.m_Log);
  if (line.m_Verb == "tls")
    return CListCommand::ListTransportLayers();
  if (line.m_Verb == "list")
    return CListCommand::ListCameras(line.m_Verbose);
  return RunCameraCommand(line);
}

} // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const CToolError& e) {
    std::fprintf(stderr, "vorla-cl: %s\n", e.what());
    if (e.Status() == ExitUsage)
      std::fputs("Try 'vorla-cl --help'.\n", stderr);
    return e.Status();
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "vorla-cl: %s\n", e.GetDescription());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vorla-cl: %s\n", e.what());
  }
  return ExitFailure;
}
