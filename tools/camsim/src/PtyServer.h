#pragma once
#include <camsim/CameraModel.h>

#include <atomic>
#include <memory>
#include <string>

namespace camsim {

//! Serves a camera model on a terminal: a new pseudo-terminal (the simulator holds the master
//! and keeps a slave descriptor open so the line survives hosts coming and going) or a tty.
class CPtyServer {
public:
  explicit CPtyServer(std::shared_ptr<CCameraModel> camera);
  ~CPtyServer();

  //! Opens a pseudo-terminal; returns its slave path, empty on failure (errno set).
  std::string OpenPty();
  //! Opens a tty at 9600 8N1 raw; false on failure.
  bool OpenTty(const std::string& path);
  //! Serves until `stop` is set, or standard input ends when `watchStdin`.
  void Serve(const std::atomic<bool>& stop, bool watchStdin);

private:
  void ApplyBaudRate(std::uint32_t bit);

  std::shared_ptr<CCameraModel> m_Camera;
  int m_Fd = -1;      //!< the side the camera talks through
  int m_SlaveFd = -1; //!< held open for a pseudo-terminal
};

} // namespace camsim
