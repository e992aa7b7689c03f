// Constants of the DataNodes' data transfer protocol.
#ifndef IO_DATATRANSFERPROTOCOL_H
#define IO_DATATRANSFERPROTOCOL_H

#include <cstddef>
#include <cstdint>

const std::uint16_t kDataTransferVersion = 28;      ///< DATA_TRANSFER_VERSION, 2 bytes big-endian
const std::uint8_t kOpWriteBlock = 80;              ///< Op WRITE_BLOCK
const std::uint8_t kOpReadBlock = 81;               ///< Op READ_BLOCK
const std::size_t kOpPrefixSize = 3;                ///< version and op code
const std::size_t kOpMessageLimit = 1000;           ///< most bytes of an encoded request
const std::size_t kPacketPrefixSize = 6;            ///< packet length (4) and header length (2), big-endian
const std::uint32_t kDataTransferStatusSuccess = 0; ///< Status SUCCESS
/// OpWriteBlockProto.BlockConstructionStage PIPELINE_SETUP_CREATE
const std::uint32_t kStagePipelineSetupCreate = 6;
const char kClientName[] = "Quor";

#endif
