#pragma once
#include <Base/GCString.h>

#include <cstdint>

namespace Vorla {

//! Identifies a registered buffer. Handles count up from 1 across all stream grabbers of a
//! process and are never reused; 0 is never a valid handle.
using StreamBufferHandle = uint64_t;

//! Where a buffer is in its grab cycle.
enum EGrabStatus : int32_t {
  Idle = 0,     //!< registered, not queued
  Queued = 1,   //!< waiting to be filled
  Grabbed = 2,  //!< filled with a frame
  Canceled = 3, //!< taken back unfilled by CancelGrab or FinishGrab
  Failed = 4    //!< a frame arrived but could not be described; see m_ErrorDescription
};

//! Pixel type value of a frame whose format is not known.
constexpr uint32_t UndefinedPixelType = 0xFFFFFFFF;

//! One buffer's state and, once grabbed, its frame, as IStreamGrabber::RetrieveResult hands it
//! out. The fields are those of a buffer's record in the stream grabber, in that order. A plain
//! value: copy it freely.
struct GrabResult {
  uint64_t m_Context = 0;                    //!< the value given to QueueBuffer
  StreamBufferHandle m_hBuffer = 0;          //!< the buffer's handle
  void* m_pBuffer = nullptr;                 //!< the buffer's memory, as registered
  int32_t m_Status = Idle;                   //!< an EGrabStatus
  int32_t m_FrameNumber = 0;                 //!< the frame-grabber's value for the frame
  int32_t m_PayloadType = -1;                //!< 0 (image) once a frame has been grabbed
  uint32_t m_PixelType = UndefinedPixelType; //!< an EPixelType
  uint64_t m_TimeStamp = 0;                  //!< 0: the Camera Link transport leaves it unset
  int32_t m_SizeX = -1;                      //!< width in pixels
  int32_t m_SizeY = -1;                      //!< height in lines
  int32_t m_OffsetX = -1;                    //!< horizontal offset of the region in pixels
  int32_t m_OffsetY = -1;                    //!< vertical offset of the region in lines
  int32_t m_PaddingX = -1;                   //!< bytes added at each line's end: 0 once grabbed
  int32_t m_PaddingY = -1;                   //!< bytes added at the image's end: 0 once grabbed
  uint64_t m_PayloadSize = 0;           //!< the buffer's size, then the valid bytes of the frame
  uint32_t m_ErrorCode = 0;             //!< 0, or 0xFFFFFFFF for a failed frame
  GenICam::gcstring m_ErrorDescription; //!< why the frame failed, else empty
  //! The frame grabber's time of the frame in ns on its own clock (FgCallee::FrameReadyAt), or 0
  //! when the grabber gives none. Kept apart from m_TimeStamp, which this transport never sets.
  uint64_t m_GrabberTimeStamp = 0;
};

} // namespace Vorla
