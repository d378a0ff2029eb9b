//===- Vemlo/Vemlo.h - Every public header of libVemlo ----------*- C++ -*-===//
//
// The umbrella header: an application may include only this one.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_VEMLO_H
#define VEMLO_VEMLO_H

#include <Vemlo/Export.h>

// Core types
#include <Vemlo/String.h>
#include <Vemlo/StringUtil.h>
#include <Vemlo/Version.h>
#include <Vemlo/Common/Exception.h>
#include <Vemlo/Testor.h>

// Collections
#include <Vemlo/Data/Object.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Data/Collection/Iterator.h>
#include <Vemlo/Data/Collection/HashElement.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Collection/Row.h>
#include <Vemlo/Data/Collection/Table.h>
#include <Vemlo/Data/BoxCollect/Box.h>
#include <Vemlo/Data/BoxCollect/ReqBox.h>
#include <Vemlo/Data/BoxCollect/RespBox.h>

// XML
#include <Vemlo/Common/Xml/Attribute.h>
#include <Vemlo/Common/Xml/Node.h>
#include <Vemlo/Common/Xml/NodeList.h>
#include <Vemlo/Common/Xml/XmlDocument.h>
#include <Vemlo/Common/Xml/XmlException.h>

// Properties and configuration
#include <Vemlo/Data/Properties/PropertyException.h>
#include <Vemlo/Config/ConfigurationException.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Data/Properties/Property.h>
#include <Vemlo/Data/Properties/PlaneTextProperty.h>
#include <Vemlo/Data/Properties/XmlProperty.h>
#include <Vemlo/Data/Properties/PropertyBuilder.h>
#include <Vemlo/Data/Properties/FileProperty.h>
#include <Vemlo/Data/Properties/PropertyManager.h>
#include <Vemlo/Config/Configuration.h>
#include <Vemlo/Config/ConfigurationManager.h>

// System services
#include <Vemlo/Util/System/Semaphore.h>
#include <Vemlo/Util/System/CCriticalSection.h>
#include <Vemlo/Util/System/CSingleLock.h>
#include <Vemlo/Util/System/Mutex.h>
#include <Vemlo/Service/WorkException.h>
#include <Vemlo/Service/Thread.h>
#include <Vemlo/Service/ThreadMemoryRemover.h>
#include <Vemlo/Util/System/CTime.h>

// Logging
#include <Vemlo/Log/LogException.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>

// Events
#include <Vemlo/Event/EventException.h>
#include <Vemlo/Event/EventMessage.h>
#include <Vemlo/Event/EventHost.h>
#include <Vemlo/Event/EventHostGeneric.h>
#include <Vemlo/Event/EventHostThread.h>
#include <Vemlo/Event/EventHandler.h>

// State machine
#include <Vemlo/State/StateUnit.h>
#include <Vemlo/State/Transition.h>
#include <Vemlo/State/LogElement.h>
#include <Vemlo/State/StateMachine.h>

// Networking
#include <Vemlo/Net/NetException.h>
#include <Vemlo/Net/Socket/ClientBase.h>
#include <Vemlo/Net/Socket/TCPClient.h>
#include <Vemlo/Net/Socket/UDSClient.h>
#include <Vemlo/Net/Socket/ServerBase.h>
#include <Vemlo/Net/Socket/TCPServer.h>
#include <Vemlo/Net/Socket/UDSServer.h>
#include <Vemlo/Net/PostObject.h>
#include <Vemlo/Net/WebPostMessage.h>

// Shared memory
#include <Vemlo/IPC/SharedMemory.h>

// Database
#include <Vemlo/DB/DBException.h>
#include <Vemlo/DB/Sqlite.h>

// Codecs and ciphers
#include <Vemlo/Common/Convertor/Aes.h>
#include <Vemlo/Common/Cipher/RijnDaelEx.h>
#include <Vemlo/Common/Convertor/Base64.h>
#include <Vemlo/Common/Convertor/Base64C.h>
#include <Vemlo/Common/Convertor/CRC16.h>
#include <Vemlo/Common/Convertor/CRC32.h>

#endif // VEMLO_VEMLO_H
