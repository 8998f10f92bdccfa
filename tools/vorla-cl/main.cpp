// vorla-cl: the command-line face of the camera SDK's transport layers.
#include "CameraSession.h"
#include "CommandLine.h"
#include "DriverLogRoute.h"
#include "FeatureCommand.h"
#include "GrabCommand.h"
#include "InfoCommand.h"
#include "Interruption.h"
#include "ListCommand.h"
#include "NodeMapView.h"
#include "ToolError.h"
#include "WatchCommand.h"
#include "XmlCommand.h"

#include <Base/GCException.h>
#include <VorlaBase/Logging.h>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace VorlaCl;

int RunCameraCommand(const CCommandLine& line) {
  const CCameraSelector selector(line.m_Camera, line.m_First);
  CCameraSession session(selector);
  if (line.m_Verb == "xml")
    return CXmlCommand::Run(session, line.m_Output);
  if (line.m_Verb == "info")
    return CInfoCommand::Run(session, line.m_Json);
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
    options.m_Verbose = line.m_Verbose;
    options.m_Json = line.m_Json;
    return RunGrab(device, options);
  }
  const CNodeMapView view(device.GetNodeMap(), device.GetTLNodeMap());
  const CFeatureCommand features(view, line.m_Json);
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
  // Quiet unless asked: the tool's own lines say what went wrong.
  if (!line.m_Log.empty())
    vxlog::LogSetFilter(line.m_Log);
  else if (!std::getenv("VORLA_LOG"))
    vxlog::LogSetFilter(std::to_string(vxlog::Error + 1));
  if (line.m_Verb == "tls")
    return CListCommand::ListTransportLayers();
  if (line.m_Verb == "list")
    return CListCommand::ListCameras(line.m_Verbose, line.m_Json);
  return RunCameraCommand(line);
}

} // namespace

int main(int argc, char** argv) {
  const CInterruption interruption;
  const CDriverLogRoute driverLog;
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
