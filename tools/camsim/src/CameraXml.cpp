// The camera's GenApi description, written for it by hand, and the generated features that make
// it as large as a real camera's.
#include <camsim/CameraModel.h>
#include <camsim/CameraXml.h>

#include <boost/algorithm/string/replace.hpp>

#include <cstdio>

namespace camsim {

const std::string& CameraXml() {
  static const std::string xml = R"XML(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="HexmarCamSim" VendorName="Hexmar" ToolTip="Hexmar GenCP Camera Link camera" StandardNameSpace="CL" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="6F1C2A3E-5B7D-4E21-9A43-0C8D1E2F3A4B" VersionGuid="2B9E4D7A-1C3F-4A6B-8D2E-5F7A9C1B3E5D" xmlns="http://www.genicam.org/GenApi/Version_1_1" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_1 http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd">
  <Category Name="Root" NameSpace="Standard">
    <ToolTip>The camera's features</ToolTip>
    <pFeature>DeviceControl</pFeature>
    <pFeature>ImageFormatControl</pFeature>
    <pFeature>AcquisitionControl</pFeature>
    <pFeature>AnalogControl</pFeature>
    <pFeature>TransportLayerControl</pFeature>
    <pFeature>UserSetControl</pFeature>
  </Category>
  <Category Name="DeviceControl" NameSpace="Standard">
    <ToolTip>Information about the camera</ToolTip>
    <pFeature>DeviceVendorName</pFeature>
    <pFeature>DeviceModelName</pFeature>
    <pFeature>DeviceFamilyName</pFeature>
    <pFeature>DeviceVersion</pFeature>
    <pFeature>DeviceManufacturerInfo</pFeature>
    <pFeature>DeviceSerialNumber</pFeature>
    <pFeature>DeviceID</pFeature>
    <pFeature>DeviceUserID</pFeature>
    <pFeature>DeviceTemperature</pFeature>
  </Category>
  <StringReg Name="DeviceVendorName" NameSpace="Standard">
    <ToolTip>Manufacturer of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000004</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceModelName" NameSpace="Standard">
    <ToolTip>Model of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000044</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceFamilyName" NameSpace="Standard">
    <ToolTip>Family of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000084</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceVersion" NameSpace="Standard">
    <ToolTip>Version of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x000000C4</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceManufacturerInfo" NameSpace="Standard">
    <ToolTip>Manufacturer information</ToolTip>
    <Visibility>Expert</Visibility>
    <Address>0x00000104</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceSerialNumber" NameSpace="Standard">
    <ToolTip>Serial number of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000144</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceID" NameSpace="Standard">
    <ToolTip>Identifier of the camera: its serial number</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000144</Address>
    <Length>64</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <StringReg Name="DeviceUserID" NameSpace="Standard">
    <ToolTip>User-defined name of the camera</ToolTip>
    <Visibility>Beginner</Visibility>
    <Address>0x00000184</Address>
    <Length>64</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
  </StringReg>
  <Float Name="DeviceTemperature" NameSpace="Standard">
    <ToolTip>Sensor board temperature</ToolTip>
    <pValue>DeviceTemperatureReg</pValue>
    <Unit>C</Unit>
  </Float>
  <FloatReg Name="DeviceTemperatureReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010070</Address>
    <Length>8</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Endianess>BigEndian</Endianess>
  </FloatReg>
  <Category Name="ImageFormatControl" NameSpace="Standard">
    <ToolTip>Image geometry and format</ToolTip>
    <pFeature>SensorWidth</pFeature>
    <pFeature>SensorHeight</pFeature>
    <pFeature>WidthMax</pFeature>
    <pFeature>HeightMax</pFeature>
    <pFeature>Width</pFeature>
    <pFeature>Height</pFeature>
    <pFeature>OffsetX</pFeature>
    <pFeature>OffsetY</pFeature>
    <pFeature>BinningHorizontal</pFeature>
    <pFeature>BinningVertical</pFeature>
    <pFeature>PixelFormat</pFeature>
    <pFeature>PayloadSize</pFeature>
  </Category>
  <Integer Name="SensorWidth" NameSpace="Standard">
    <ToolTip>Width of the sensor in pixels</ToolTip>
    <Visibility>Expert</Visibility>
    <pValue>SensorWidthReg</pValue>
  </Integer>
  <IntReg Name="SensorWidthReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010034</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="SensorHeight" NameSpace="Standard">
    <ToolTip>Height of the sensor in pixels</ToolTip>
    <Visibility>Expert</Visibility>
    <pValue>SensorHeightReg</pValue>
  </Integer>
  <IntReg Name="SensorHeightReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010038</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="WidthMax" NameSpace="Standard">
    <ToolTip>Largest width with the current binning</ToolTip>
    <Visibility>Expert</Visibility>
    <pValue>WidthMaxReg</pValue>
  </Integer>
  <IntReg Name="WidthMaxReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0001002C</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="HeightMax" NameSpace="Standard">
    <ToolTip>Largest height with the current binning</ToolTip>
    <Visibility>Expert</Visibility>
    <pValue>HeightMaxReg</pValue>
  </Integer>
  <IntReg Name="HeightMaxReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010030</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="Width" NameSpace="Standard">
    <ToolTip>Width of the image in pixels</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>WidthReg</pValue>
    <Min>16</Min>
    <pMax>WidthLimit</pMax>
    <Inc>4</Inc>
  </Integer>
  <IntReg Name="WidthReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010000</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <pInvalidator>BinningHorizontalReg</pInvalidator>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="Height" NameSpace="Standard">
    <ToolTip>Height of the image in lines</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>HeightReg</pValue>
    <Min>1</Min>
    <pMax>HeightLimit</pMax>
    <Inc>1</Inc>
  </Integer>
  <IntReg Name="HeightReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010004</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <pInvalidator>BinningVerticalReg</pInvalidator>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="OffsetX" NameSpace="Standard">
    <ToolTip>Horizontal offset of the image</ToolTip>
    <Visibility>Beginner</Visibility>
    <pValue>OffsetXReg</pValue>
    <Min>0</Min>
    <pMax>OffsetXLimit</pMax>
    <Inc>4</Inc>
  </Integer>
  <IntReg Name="OffsetXReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010008</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <pInvalidator>BinningVerticalReg</pInvalidator>
    <pInvalidator>BinningHorizontalReg</pInvalidator>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="OffsetY" NameSpace="Standard">
    <ToolTip>Vertical offset of the image</ToolTip>
    <Visibility>Beginner</Visibility>
    <pValue>OffsetYReg</pValue>
    <Min>0</Min>
    <pMax>OffsetYLimit</pMax>
    <Inc>1</Inc>
  </Integer>
  <IntReg Name="OffsetYReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0001000C</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <pInvalidator>BinningHorizontalReg</pInvalidator>
    <pInvalidator>BinningVerticalReg</pInvalidator>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <IntSwissKnife Name="WidthLimit">
    <Visibility>Invisible</Visibility>
    <pVariable Name="WMAX">WidthMaxReg</pVariable>
    <pVariable Name="OX">OffsetXReg</pVariable>
    <Formula>WMAX-OX</Formula>
  </IntSwissKnife>
  <IntSwissKnife Name="HeightLimit">
    <Visibility>Invisible</Visibility>
    <pVariable Name="HMAX">HeightMaxReg</pVariable>
    <pVariable Name="OY">OffsetYReg</pVariable>
    <Formula>HMAX-OY</Formula>
  </IntSwissKnife>
  <IntSwissKnife Name="OffsetXLimit">
    <Visibility>Invisible</Visibility>
    <pVariable Name="WMAX">WidthMaxReg</pVariable>
    <pVariable Name="W">WidthReg</pVariable>
    <Formula>WMAX-W</Formula>
  </IntSwissKnife>
  <IntSwissKnife Name="OffsetYLimit">
    <Visibility>Invisible</Visibility>
    <pVariable Name="HMAX">HeightMaxReg</pVariable>
    <pVariable Name="H">HeightReg</pVariable>
    <Formula>HMAX-H</Formula>
  </IntSwissKnife>
  <Integer Name="BinningHorizontal" NameSpace="Standard">
    <ToolTip>Horizontal binning factor</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>BinningHorizontalReg</pValue>
    <Min>1</Min>
    <Max>4</Max>
    <Inc>1</Inc>
  </Integer>
  <IntReg Name="BinningHorizontalReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010020</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="BinningVertical" NameSpace="Standard">
    <ToolTip>Vertical binning factor</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>BinningVerticalReg</pValue>
    <Min>1</Min>
    <Max>4</Max>
    <Inc>1</Inc>
  </Integer>
  <IntReg Name="BinningVerticalReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010024</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Enumeration Name="PixelFormat" NameSpace="Standard">
    <ToolTip>Format of the pixels</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <EnumEntry Name="Mono8" NameSpace="Standard">
      <Value>0x01080001</Value>
    </EnumEntry>
    <EnumEntry Name="Mono10" NameSpace="Standard">
      <Value>0x01100003</Value>
    </EnumEntry>
    <EnumEntry Name="Mono12" NameSpace="Standard">
      <Value>0x01100005</Value>
    </EnumEntry>
    <EnumEntry Name="Mono16" NameSpace="Standard">
      <Value>0x01100007</Value>
    </EnumEntry>
    <EnumEntry Name="BayerRG8" NameSpace="Standard">
      <Value>0x01080009</Value>
    </EnumEntry>
    <EnumEntry Name="RGB8" NameSpace="Standard">
      <Value>0x02180014</Value>
    </EnumEntry>
    <pValue>PixelFormatReg</pValue>
  </Enumeration>
  <IntReg Name="PixelFormatReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010010</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="PayloadSize" NameSpace="Standard">
    <ToolTip>Bytes of one image</ToolTip>
    <Visibility>Beginner</Visibility>
    <pValue>PayloadSizeReg</pValue>
    <Unit>B</Unit>
  </Integer>
  <IntReg Name="PayloadSizeReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010014</Address>
    <Length>4</Length>
    <AccessMode>RO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <pInvalidator>WidthReg</pInvalidator>
    <pInvalidator>HeightReg</pInvalidator>
    <pInvalidator>PixelFormatReg</pInvalidator>
    <pInvalidator>BinningHorizontalReg</pInvalidator>
    <pInvalidator>BinningVerticalReg</pInvalidator>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Category Name="AcquisitionControl" NameSpace="Standard">
    <ToolTip>Image acquisition</ToolTip>
    <pFeature>AcquisitionMode</pFeature>
    <pFeature>AcquisitionFrameCount</pFeature>
    <pFeature>AcquisitionStart</pFeature>
    <pFeature>AcquisitionStop</pFeature>
    <pFeature>AcquisitionFrameRate</pFeature>
    <pFeature>ExposureTime</pFeature>
    <pFeature>TriggerMode</pFeature>
    <pFeature>TriggerSource</pFeature>
    <pFeature>TriggerSoftware</pFeature>
  </Category>
  <Enumeration Name="AcquisitionMode" NameSpace="Standard">
    <ToolTip>Number of images per start</ToolTip>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Continuous" NameSpace="Standard">
      <Value>0</Value>
    </EnumEntry>
    <EnumEntry Name="SingleFrame" NameSpace="Standard">
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="MultiFrame" NameSpace="Standard">
      <Value>2</Value>
    </EnumEntry>
    <pValue>AcquisitionModeReg</pValue>
  </Enumeration>
  <IntReg Name="AcquisitionModeReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0001003C</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="AcquisitionFrameCount" NameSpace="Standard">
    <ToolTip>Frames per start in MultiFrame mode</ToolTip>
    <Visibility>Beginner</Visibility>
    <pValue>AcquisitionFrameCountReg</pValue>
    <Min>1</Min>
    <Max>65535</Max>
  </Integer>
  <IntReg Name="AcquisitionFrameCountReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010080</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Command Name="AcquisitionStart" NameSpace="Standard">
    <ToolTip>Starts the acquisition</ToolTip>
    <pValue>AcquisitionStartReg</pValue>
    <CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="AcquisitionStartReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010040</Address>
    <Length>4</Length>
    <AccessMode>WO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Command Name="AcquisitionStop" NameSpace="Standard">
    <ToolTip>Stops the acquisition</ToolTip>
    <pValue>AcquisitionStopReg</pValue>
    <CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="AcquisitionStopReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010044</Address>
    <Length>4</Length>
    <AccessMode>WO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Float Name="AcquisitionFrameRate" NameSpace="Standard">
    <ToolTip>Frame rate</ToolTip>
    <pValue>AcquisitionFrameRateReg</pValue>
    <Min>1.0</Min>
    <Max>5000.0</Max>
    <Unit>Hz</Unit>
  </Float>
  <FloatReg Name="AcquisitionFrameRateReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010068</Address>
    <Length>8</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Endianess>BigEndian</Endianess>
  </FloatReg>
  <Float Name="ExposureTime" NameSpace="Standard">
    <ToolTip>Exposure time</ToolTip>
    <pValue>ExposureTimeReg</pValue>
    <Min>10.0</Min>
    <Max>1000000.0</Max>
    <Unit>us</Unit>
  </Float>
  <FloatReg Name="ExposureTimeReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010058</Address>
    <Length>8</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Endianess>BigEndian</Endianess>
  </FloatReg>
  <Enumeration Name="TriggerMode" NameSpace="Standard">
    <ToolTip>Whether a trigger starts each image</ToolTip>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Off" NameSpace="Standard">
      <Value>0</Value>
    </EnumEntry>
    <EnumEntry Name="On" NameSpace="Standard">
      <Value>1</Value>
    </EnumEntry>
    <pValue>TriggerModeReg</pValue>
  </Enumeration>
  <IntReg Name="TriggerModeReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0001004C</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Enumeration Name="TriggerSource" NameSpace="Standard">
    <ToolTip>Source of the trigger</ToolTip>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Software" NameSpace="Standard">
      <Value>0</Value>
    </EnumEntry>
    <EnumEntry Name="Line0" NameSpace="Standard">
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="CC1" NameSpace="Standard">
      <Value>2</Value>
    </EnumEntry>
    <pValue>TriggerSourceReg</pValue>
  </Enumeration>
  <IntReg Name="TriggerSourceReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010050</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Command Name="TriggerSoftware" NameSpace="Standard">
    <ToolTip>Triggers one image</ToolTip>
    <pValue>TriggerSoftwareReg</pValue>
    <CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="TriggerSoftwareReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010054</Address>
    <Length>4</Length>
    <AccessMode>WO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Category Name="AnalogControl" NameSpace="Standard">
    <ToolTip>Analog settings</ToolTip>
    <pFeature>Gain</pFeature>
  </Category>
  <Float Name="Gain" NameSpace="Standard">
    <ToolTip>Gain</ToolTip>
    <pValue>GainReg</pValue>
    <Min>0.0</Min>
    <Max>24.0</Max>
    <Unit>dB</Unit>
  </Float>
  <FloatReg Name="GainReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010060</Address>
    <Length>8</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Endianess>BigEndian</Endianess>
  </FloatReg>
  <Category Name="TransportLayerControl" NameSpace="Standard">
    <ToolTip>Camera Link transport</ToolTip>
    <pFeature>ClSerialPortBaudRate</pFeature>
    <pFeature>ClTapGeometry</pFeature>
    <pFeature>ClPixelClock</pFeature>
    <pFeature>TLParamsLocked</pFeature>
  </Category>
  <Enumeration Name="ClSerialPortBaudRate" NameSpace="Standard">
    <ToolTip>Baud rate of the serial line</ToolTip>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Baud9600" NameSpace="Standard">
      <Value>15</Value>
    </EnumEntry>
    <EnumEntry Name="Baud19200" NameSpace="Standard">
      <Value>17</Value>
    </EnumEntry>
    <EnumEntry Name="Baud38400" NameSpace="Standard">
      <Value>18</Value>
    </EnumEntry>
    <EnumEntry Name="Baud57600" NameSpace="Standard">
      <Value>19</Value>
    </EnumEntry>
    <EnumEntry Name="Baud115200" NameSpace="Standard">
      <Value>20</Value>
    </EnumEntry>
    <EnumEntry Name="Baud230400" NameSpace="Standard">
      <Value>21</Value>
    </EnumEntry>
    <EnumEntry Name="Baud460800" NameSpace="Standard">
      <Value>22</Value>
    </EnumEntry>
    <EnumEntry Name="Baud921600" NameSpace="Standard">
      <Value>23</Value>
    </EnumEntry>
    <pValue>ClSerialPortBaudRateReg</pValue>
  </Enumeration>
  <IntReg Name="ClSerialPortBaudRateReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010028</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Enumeration Name="ClTapGeometry" NameSpace="Standard">
    <ToolTip>Tap geometry of the Camera Link video</ToolTip>
    <Visibility>Beginner</Visibility>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <EnumEntry Name="Geometry_1X_1Y" NameSpace="Standard">
      <Value>0</Value>
    </EnumEntry>
    <EnumEntry Name="Geometry_1X2_1Y" NameSpace="Standard">
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="Geometry_1X3_1Y" NameSpace="Standard">
      <Value>2</Value>
    </EnumEntry>
    <EnumEntry Name="Geometry_1X4_1Y" NameSpace="Standard">
      <Value>3</Value>
    </EnumEntry>
    <EnumEntry Name="Geometry_1X8_1Y" NameSpace="Standard">
      <Value>4</Value>
    </EnumEntry>
    <EnumEntry Name="Geometry_1X10_1Y" NameSpace="Standard">
      <Value>5</Value>
    </EnumEntry>
    <pValue>ClTapGeometryReg</pValue>
  </Enumeration>
  <IntReg Name="ClTapGeometryReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0001001C</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="ClPixelClock" NameSpace="Custom">
    <ToolTip>Pixel clock of the Camera Link video</ToolTip>
    <Visibility>Expert</Visibility>
    <pValue>ClPixelClockReg</pValue>
    <Min>20000000</Min>
    <Max>85000000</Max>
    <Unit>Hz</Unit>
  </Integer>
  <IntReg Name="ClPixelClockReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010084</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Integer Name="TLParamsLocked" NameSpace="Standard">
    <ToolTip>Locks the parameters the transport depends on while 1</ToolTip>
    <Visibility>Invisible</Visibility>
    <pValue>TLParamsLockedReg</pValue>
    <Min>0</Min>
    <Max>1</Max>
  </Integer>
  <IntReg Name="TLParamsLockedReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010018</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Category Name="UserSetControl" NameSpace="Standard">
    <ToolTip>Persistent settings</ToolTip>
    <pFeature>UserSetSave</pFeature>
  </Category>
  <Command Name="UserSetSave" NameSpace="Standard">
    <ToolTip>Saves the settings; takes a while</ToolTip>
    <pValue>UserSetSaveReg</pValue>
    <CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="UserSetSaveReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00010078</Address>
    <Length>4</Length>
    <AccessMode>WO</AccessMode>
    <pPort>Device</pPort>
    <Cachable>NoCache</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
  <Port Name="Device" NameSpace="Standard">
    <ToolTip>The camera's register space</ToolTip>
  </Port>
</RegisterDescription>
)XML";
  return xml;
}

namespace {

// The generated features: three integers, then an enumeration of four entries, as real cameras'
// user-defined and look-up values come; each over its own 4-byte register.
const char* const IntegerFeature = R"XML(  <Integer Name="@NAME@" NameSpace="Custom">
    <ToolTip>User-defined value @NUMBER@</ToolTip>
    <Description>A value the application keeps in the camera; kept in the user set</Description>
    <DisplayName>User Value @NUMBER@</DisplayName>
    <Visibility>Expert</Visibility>
    <pValue>@NAME@Reg</pValue>
    <Min>0</Min>
    <Max>65535</Max>
    <Inc>1</Inc>
  </Integer>
)XML";

const char* const EnumerationFeature = R"XML(  <Enumeration Name="@NAME@" NameSpace="Custom">
    <ToolTip>Mode of user-defined value @NUMBER@</ToolTip>
    <Description>Selects how the camera applies user-defined value @NUMBER@; kept in the user set</Description>
    <DisplayName>User Value @NUMBER@ Mode</DisplayName>
    <Visibility>Guru</Visibility>
    <EnumEntry Name="Off" NameSpace="Custom">
      <ToolTip>User-defined value @NUMBER@ is not applied</ToolTip>
      <DisplayName>Off</DisplayName>
      <Value>0</Value>
    </EnumEntry>
    <EnumEntry Name="Once" NameSpace="Custom">
      <ToolTip>User-defined value @NUMBER@ is applied at the next start</ToolTip>
      <DisplayName>Once</DisplayName>
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="Continuous" NameSpace="Custom">
      <ToolTip>User-defined value @NUMBER@ is applied to every image</ToolTip>
      <DisplayName>Continuous</DisplayName>
      <Value>2</Value>
    </EnumEntry>
    <EnumEntry Name="Triggered" NameSpace="Custom">
      <ToolTip>User-defined value @NUMBER@ is applied at each trigger</ToolTip>
      <DisplayName>Triggered</DisplayName>
      <Value>3</Value>
    </EnumEntry>
    <pValue>@NAME@Reg</pValue>
  </Enumeration>
)XML";

const char* const FeatureRegister = R"XML(  <IntReg Name="@NAME@Reg">
    <Visibility>Invisible</Visibility>
    <Address>@ADDRESS@</Address>
    <Length>4</Length>
    <AccessMode>RW</AccessMode>
    <pPort>Device</pPort>
    <Cachable>WriteThrough</Cachable>
    <Sign>Unsigned</Sign>
    <Endianess>BigEndian</Endianess>
  </IntReg>
)XML";

} // namespace

std::string CameraXml(std::uint32_t extraFeatures) {
  std::string xml = CameraXml();
  if (extraFeatures == 0)
    return xml;
  std::string category = "  <Category Name=\"UserDefinedValues\" NameSpace=\"Custom\">\n"
                         "    <ToolTip>Values the application keeps in the camera</ToolTip>\n";
  std::string features;
  for (std::uint32_t i = 0; i < extraFeatures; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "UserValue%04u", static_cast<unsigned>(i));
    category += std::string("    <pFeature>") + name + "</pFeature>\n";
    char address[16];
    std::snprintf(address, sizeof address, "0x%08llX",
                  static_cast<unsigned long long>(CCameraModel::UserValuesBase + 4ull * i));
    std::string feature =
        std::string(i % 4 == 3 ? EnumerationFeature : IntegerFeature) + FeatureRegister;
    boost::algorithm::replace_all(feature, "@NAME@", name);
    boost::algorithm::replace_all(feature, "@NUMBER@", std::to_string(i));
    boost::algorithm::replace_all(feature, "@ADDRESS@", address);
    features += feature;
  }
  const std::string lastFeature = "    <pFeature>UserSetControl</pFeature>\n";
  xml.insert(xml.find(lastFeature) + lastFeature.size(),
             "    <pFeature>UserDefinedValues</pFeature>\n");
  xml.insert(xml.find("  <Port Name=\"Device\""), category + "  </Category>\n" + features);
  return xml;
}

} // namespace camsim
