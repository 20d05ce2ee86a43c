#include "SenseTable.h"

namespace PI {

// "Data protect" and "blank check" count as informational here, "unit
// attention" as an error: that is how the system has always graded them.
constexpr SenseKeyRow kSenseKeyRows[kSenseKeyRowCount] = {
    {0, "no sense", SEVERITY_INFORMATIONAL},    {1, "recovered error", SEVERITY_INFORMATIONAL},
    {2, "not ready", SEVERITY_ERROR},           {3, "medium error", SEVERITY_ERROR},
    {4, "hardware error", SEVERITY_ERROR},      {5, "illegal request", SEVERITY_ERROR},
    {6, "unit attention", SEVERITY_ERROR},      {7, "data protect", SEVERITY_INFORMATIONAL},
    {8, "blank check", SEVERITY_INFORMATIONAL}, {9, "vendor specific", SEVERITY_INFORMATIONAL},
    {10, "copy aborted", SEVERITY_ERROR},       {11, "aborted command", SEVERITY_ERROR},
    {12, "reserved", SEVERITY_INFORMATIONAL},   {13, "volume overflow", SEVERITY_ERROR},
    {14, "miscompare", SEVERITY_ERROR},         {15, "completed", SEVERITY_INFORMATIONAL},
};

// The wording is the one the system has always shown, oddities included
// (04/09 with a comma, 26/04 capitalised, 72/04 "empty of"). Codes assigned
// as a range are held only at their end points (40/80, 4D/00 and 4D/FF,
// 70/00 and 70/FF); a value inside the range is not found. ASC 80 holds the
// controller's own reasons for taking a drive offline.
constexpr SenseRow kSenseRows[kSenseRowCount] = {
    {0x00, 0x00, "no additional sense information"},
    {0x00, 0x01, "file mark detected"},
    {0x00, 0x02, "end of partition/medium detected"},
    {0x00, 0x03, "setmark detected"},
    {0x00, 0x04, "beginning of partition/medium detected"},
    {0x00, 0x05, "end of data detected"},
    {0x00, 0x06, "I/O process terminated"},
    {0x00, 0x11, "audio play operation in progress"},
    {0x00, 0x12, "audio play operation paused"},
    {0x00, 0x13, "audio play operation successfully completed"},
    {0x00, 0x14, "audio play operation stopped due to error"},
    {0x00, 0x15, "no current audio status to return"},
    {0x00, 0x16, "operation in progress"},
    {0x00, 0x17, "cleaning requested"},
    {0x01, 0x00, "no index/sector signal"},
    {0x02, 0x00, "no seek complete"},
    {0x03, 0x00, "peripheral device write fault"},
    {0x03, 0x01, "no write current"},
    {0x03, 0x02, "excessive write errors"},
    {0x04, 0x00, "logical unit not ready - cause not reportable"},
    {0x04, 0x01, "logical unit is in process of becoming ready"},
    {0x04, 0x02, "logical unit not ready - initializing command is required"},
    {0x04, 0x03, "logical unit not ready - manual intervention is required"},
    {0x04, 0x04, "logical unit not ready - format in progress"},
    {0x04, 0x05, "logical unit not ready - rebuild in progress"},
    {0x04, 0x06, "logical unit not ready - recalculation in progress"},
    {0x04, 0x07, "logical unit not ready - operation in progress"},
    {0x04, 0x08, "logical unit not ready - long write in progress"},
    {0x04, 0x09, "logical unit not ready, self-test in progress"},
    {0x05, 0x00, "logical unit does not respond to selection"},
    {0x06, 0x00, "no reference position found"},
    {0x07, 0x00, "multiple peripheral device selected"},
    {0x08, 0x00, "logical unit communication failure"},
    {0x08, 0x01, "logical unit communication time-out"},
    {0x08, 0x02, "logical unit communication parity error"},
    {0x08, 0x03, "logical unit communication crc error Ultra-DMA/32"},
    {0x08, 0x04, "unreachable copy target"},
    {0x09, 0x00, "track following error"},
    {0x09, 0x01, "tracking servo failure"},
    {0x09, 0x02, "focus servo failure"},
    {0x09, 0x03, "spindles servo failure"},
    {0x09, 0x04, "head select fault"},
    {0x0A, 0x00, "error log overflow"},
    {0x0B, 0x00, "warning"},
    {0x0B, 0x01, "warning - specified temperature exceeded"},
    {0x0B, 0x02, "warning - enclosure degraded"},
    {0x0C, 0x00, "write error"},
    {0x0C, 0x01, "write error recovered with auto reallocation"},
    {0x0C, 0x02, "write error - auto reallocation failed"},
    {0x0C, 0x03, "write error - recommend reassignment"},
    {0x0C, 0x04, "compression check miscompare error"},
    {0x0C, 0x05, "data expansion occurred during compression"},
    {0x0C, 0x06, "block not compressible"},
    {0x0C, 0x07, "write error - recover needed"},
    {0x0C, 0x08, "write error - recover failed"},
    {0x0C, 0x09, "write error - loss of stream"},
    {0x0C, 0x0A, "write error - padding block added"},
    {0x10, 0x00, "ID CRC or ECC error"},
    {0x11, 0x00, "unrecovered read error"},
    {0x11, 0x01, "read retries exhausted"},
    {0x11, 0x02, "error too long to correct"},
    {0x11, 0x03, "multiple read errors"},
    {0x11, 0x04, "unrecovered read error - auto reallocate failed"},
    {0x11, 0x05, "L-EC uncorrectable error"},
    {0x11, 0x06, "CIRC unrecovered error"},
    {0x11, 0x07, "data resynchronization error"},
    {0x11, 0x08, "incomplete block read"},
    {0x11, 0x09, "no gap found"},
    {0x11, 0x0A, "miscorrected error"},
    {0x11, 0x0B, "unrecovered read error - recommended reassignment"},
    {0x11, 0x0C, "unrecovered read error - recommended rewrite the data"},
    {0x11, 0x0D, "de-compression error"},
    {0x11, 0x0E, "cannot decompress using declared algorithm"},
    {0x11, 0x0F, "error reading upc/ean number"},
    {0x11, 0x10, "error reading isrc number"},
    {0x11, 0x11, "read error - loss of stream"},
    {0x12, 0x00, "address mark not found for id field"},
    {0x13, 0x00, "address mark not found for data field"},
    {0x14, 0x00, "recorded entity not found"},
    {0x14, 0x01, "record not found"},
    {0x14, 0x02, "file mark or setmark not found"},
    {0x14, 0x03, "end of data not found"},
    {0x14, 0x04, "block sequence error"},
    {0x14, 0x05, "record not found - recommend reassignment"},
    {0x14, 0x06, "record not found - data auto reallocated"},
    {0x15, 0x00, "random positioning error"},
    {0x15, 0x01, "mechanical positioning error"},
    {0x15, 0x02, "position error detected by read of medium"},
    {0x16, 0x00, "data synchronization mark error"},
    {0x16, 0x01, "data sync error - data rewritten"},
    {0x16, 0x02, "data sync error - recommend rewrite"},
    {0x16, 0x03, "data sync error - data auto-reallocated"},
    {0x16, 0x04, "data sync error - recommend reassignment"},
    {0x17, 0x00, "recovered data with no error correction applied"},
    {0x17, 0x01, "recovered data with retries"},
    {0x17, 0x02, "recovered data with positive head offset"},
    {0x17, 0x03, "recovered data with negative head offset"},
    {0x17, 0x04, "recovered data with and/or CIRC applied"},
    {0x17, 0x05, "recovered data using previous sector id"},
    {0x17, 0x06, "recovered data without ECC - data auto reallocated"},
    {0x17, 0x07, "recovered data without ECC - recommended reassignment"},
    {0x17, 0x08, "recovered data without ECC - recommended rewrite"},
    {0x17, 0x09, "recovered data without ECC - data rewritten"},
    {0x18, 0x00, "recovered data with error correction applied"},
    {0x18, 0x01, "recovered data with error correction & retries applied"},
    {0x18, 0x02, "recovered data - data auto reallocated"},
    {0x18, 0x03, "recovered data with CIRC"},
    {0x18, 0x04, "recovered data with L-EC"},
    {0x18, 0x05, "recovered data - recommended reassignment"},
    {0x18, 0x06, "recovered data - recommended rewrite"},
    {0x18, 0x07, "recovered data with ECC - data rewritten"},
    {0x19, 0x00, "defect list error"},
    {0x19, 0x01, "defect list not available"},
    {0x19, 0x02, "defect list error in primary list"},
    {0x19, 0x03, "defect list error in grown list"},
    {0x1A, 0x00, "parameter list length error"},
    {0x1B, 0x00, "synchronous data transfer error"},
    {0x1C, 0x00, "defect list not found"},
    {0x1C, 0x01, "primary defect list not found"},
    {0x1C, 0x02, "grown defect list not found"},
    {0x1D, 0x00, "miscompare during verify operation"},
    {0x1E, 0x00, "recovered ID with ECC correction"},
    {0x1F, 0x00, "partial defect list transfer"},
    {0x20, 0x00, "invalid command operation code"},
    {0x21, 0x00, "logical block address out of range"},
    {0x21, 0x01, "invalid element address"},
    {0x22, 0x00, "illegal function (should use 20 00, 24 00, or 26 00)"},
    {0x24, 0x00, "invalid field in CDB"},
    {0x24, 0x01, "CDB decryption error"},
    {0x25, 0x00, "logical unit not supported"},
    {0x26, 0x00, "invalid field in parameter list"},
    {0x26, 0x01, "parameter not supported"},
    {0x26, 0x02, "parameter value invalid"},
    {0x26, 0x03, "threshold parameters not supported"},
    {0x26, 0x04, "Invalid release of active persistent reservation"},
    {0x26, 0x05, "data decryption error"},
    {0x26, 0x06, "too many target descriptors"},
    {0x26, 0x07, "unsupported target descriptor type code"},
    {0x26, 0x08, "too many segment descriptors"},
    {0x26, 0x09, "unsupported segment descriptor type code"},
    {0x26, 0x0A, "unexpected inexact segment"},
    {0x26, 0x0B, "inline data length exceeded"},
    {0x26, 0x0C, "invalid operation for copy source or destination"},
    {0x26, 0x0D, "copy segment granularity violation"},
    {0x27, 0x00, "write protected"},
    {0x27, 0x01, "hardware write protected"},
    {0x27, 0x02, "logical unit software write protected"},
    {0x27, 0x03, "associated write protect"},
    {0x27, 0x04, "persistent write protect"},
    {0x27, 0x05, "permanent write protect"},
    {0x28, 0x00, "not ready to ready transition, medium may have changed"},
    {0x28, 0x01, "import or export element accessed"},
    {0x29, 0x00, "power on, reset, or bus device reset occurred"},
    {0x29, 0x01, "power on occurred"},
    {0x29, 0x02, "SCSI bus reset occurred"},
    {0x29, 0x03, "bus device reset message occurred"},
    {0x29, 0x04, "device internal reset"},
    {0x29, 0x05, "transceiver mode changed to single-ended"},
    {0x29, 0x06, "transceiver mode changed to LVD"},
    {0x2A, 0x00, "parameters changed"},
    {0x2A, 0x01, "mode parameters changed"},
    {0x2A, 0x02, "log parameters changed"},
    {0x2A, 0x03, "reservations preempted"},
    {0x2A, 0x04, "reservations released"},
    {0x2A, 0x05, "registrations preempted"},
    {0x2B, 0x00, "copy cannot execute since host cannot disconnect"},
    {0x2C, 0x00, "command sequence error"},
    {0x2C, 0x01, "too many windows specified"},
    {0x2C, 0x02, "invalid combination of windows specified"},
    {0x2C, 0x03, "current program area is not empty"},
    {0x2C, 0x04, "current program area is empty"},
    {0x2C, 0x05, "illegal power condition request"},
    {0x2D, 0x00, "overwrite error on update in place"},
    {0x2E, 0x00, "error detected by third party temporary initiator"},
    {0x2E, 0x01, "third party device failure"},
    {0x2E, 0x02, "copy target device not reachable"},
    {0x2E, 0x03, "incorrect copy target device type"},
    {0x2E, 0x04, "copy target device data underrun"},
    {0x2E, 0x05, "copy target device data overrun"},
    {0x2F, 0x00, "command cleared by another initiator"},
    {0x30, 0x00, "incompatible medium installed"},
    {0x30, 0x01, "cannot read medium - unknown format"},
    {0x30, 0x02, "cannot read medium - incompatible format"},
    {0x30, 0x03, "cleaning cartridge installed"},
    {0x30, 0x04, "cannot write medium - unknown format"},
    {0x30, 0x05, "cannot write medium - incompatible format"},
    {0x30, 0x06, "cannot format medium - incompatible medium"},
    {0x30, 0x07, "cleaning failure"},
    {0x30, 0x08, "cannot write - application code mismatch"},
    {0x30, 0x09, "current session not fixated for append"},
    {0x31, 0x00, "medium format corrupted"},
    {0x31, 0x01, "format command failed"},
    {0x32, 0x00, "no defect spare location available"},
    {0x32, 0x01, "defect list update failure"},
    {0x33, 0x00, "tape length error"},
    {0x34, 0x00, "enclosure failure"},
    {0x35, 0x00, "enclosure services failure"},
    {0x35, 0x01, "unsupported enclosure function"},
    {0x35, 0x02, "enclosure services unavailable"},
    {0x35, 0x03, "enclosure services transfer failure"},
    {0x35, 0x04, "enclosure services transfer refused"},
    {0x36, 0x00, "ribbon, ink, or toner failure"},
    {0x37, 0x00, "rounded parameter"},
    {0x38, 0x00, "event status notification"},
    {0x38, 0x02, "ESN - power management class event"},
    {0x38, 0x04, "ESN - media class event"},
    {0x38, 0x06, "ESN - device busy class event"},
    {0x39, 0x00, "saving parameters not supported"},
    {0x3A, 0x00, "medium not present"},
    {0x3A, 0x01, "medium not present - tray closed"},
    {0x3A, 0x02, "medium not present - tray open"},
    {0x3A, 0x03, "medium not present - loadable"},
    {0x3A, 0x04, "medium not present - medium auxiliary memory accessible"},
    {0x3B, 0x00, "sequential positioning error"},
    {0x3B, 0x01, "tape position error at beginning of medium"},
    {0x3B, 0x02, "tape position error at end of medium"},
    {0x3B, 0x03, "tape or electronic vertical forms unit not ready"},
    {0x3B, 0x04, "SLEW failure"},
    {0x3B, 0x05, "paper jam"},
    {0x3B, 0x06, "failed to sense top of form"},
    {0x3B, 0x07, "failed to sense bottom of form"},
    {0x3B, 0x08, "position error"},
    {0x3B, 0x09, "read past end of medium"},
    {0x3B, 0x0A, "read past beginning of medium"},
    {0x3B, 0x0B, "position past end of medium"},
    {0x3B, 0x0C, "position past beginning of medium"},
    {0x3B, 0x0D, "medium destination element full"},
    {0x3B, 0x0E, "medium source element empty"},
    {0x3B, 0x0F, "end of medium reached"},
    {0x3B, 0x11, "medium magazine not accessible"},
    {0x3B, 0x12, "medium magazine removed"},
    {0x3B, 0x13, "medium magazine inserted"},
    {0x3B, 0x14, "medium magazine locked"},
    {0x3B, 0x15, "medium magazine unlocked"},
    {0x3B, 0x16, "mechanical positioning or changer error"},
    {0x3D, 0x00, "invalid bits in identify message"},
    {0x3E, 0x00, "logical unit has not self configured yet"},
    {0x3E, 0x01, "logical unit failure"},
    {0x3E, 0x02, "timeout on logical unit"},
    {0x3E, 0x03, "logical unit failed self-test"},
    {0x3E, 0x04, "logical unit unable to update self-test log"},
    {0x3F, 0x00, "target operating conditions have changed"},
    {0x3F, 0x01, "microcode has been changed"},
    {0x3F, 0x02, "changed operating definition"},
    {0x3F, 0x03, "inquiry data has changed"},
    {0x3F, 0x04, "component device attached"},
    {0x3F, 0x05, "device identifier changed"},
    {0x3F, 0x06, "redundancy group created or modified"},
    {0x3F, 0x07, "redundancy group deleted"},
    {0x3F, 0x08, "spare created or modified"},
    {0x3F, 0x09, "spare deleted"},
    {0x3F, 0x0A, "volume set created or modified"},
    {0x3F, 0x0B, "volume set deleted"},
    {0x3F, 0x0C, "volume set deassigned"},
    {0x3F, 0x0D, "volume set reassigned"},
    {0x3F, 0x0E, "reported luns data has changed"},
    {0x3F, 0x0F, "echo buffer overwritten"},
    {0x3F, 0x10, "medium loadable"},
    {0x3F, 0x11, "medium auxiliary memory accessible"},
    {0x40, 0x00, "RAM failure (should use 40 nn)"},
    {0x40, 0x80, "diagnostic failure on component NN(80-FF)"},
    {0x41, 0x00, "data path failure ( should use 40 nn)"},
    {0x42, 0x00, "power-on, self-test failure ( should use 40 nn)"},
    {0x43, 0x00, "message error"},
    {0x44, 0x00, "internal target failure"},
    {0x45, 0x00, "select or reselect failure"},
    {0x46, 0x00, "unsuccessful soft reset"},
    {0x47, 0x00, "SCSI parity error"},
    {0x47, 0x01, "data phase CRC error detected"},
    {0x47, 0x02, "SCSI parity error detected during ST data phase"},
    {0x47, 0x03, "information unit CRC error detected"},
    {0x47, 0x04, "asynchronous information protection error detected"},
    {0x48, 0x00, "initiator detected error message received"},
    {0x49, 0x00, "invalid message error"},
    {0x4A, 0x00, "command phase error"},
    {0x4B, 0x00, "data phase error"},
    {0x4B, 0x05, "data offset error"},
    {0x4C, 0x00, "logical unit failed self configuration"},
    {0x4D, 0x00, "tagged overlapped commands (NN = queue tag)"},
    {0x4D, 0xFF, "tagged overlapped commands (NN = queue tag)"},
    {0x4E, 0x00, "overlapped commands attempted"},
    {0x50, 0x00, "write append error"},
    {0x50, 0x01, "write append position error"},
    {0x50, 0x02, "position error related to timing"},
    {0x51, 0x00, "erase failure"},
    {0x52, 0x00, "cartridge fault"},
    {0x53, 0x00, "media load or eject failed"},
    {0x53, 0x01, "unload tape failure"},
    {0x53, 0x02, "medium removal prevented"},
    {0x54, 0x00, "SCSI to host system interface failure"},
    {0x55, 0x00, "system resource failure"},
    {0x55, 0x01, "system buffer full"},
    {0x55, 0x02, "insufficient reservation resources"},
    {0x55, 0x03, "insufficient resources"},
    {0x55, 0x04, "insufficient registration resources"},
    {0x57, 0x00, "unable to recover table of contents"},
    {0x58, 0x00, "generation does not exist"},
    {0x59, 0x00, "updated block read"},
    {0x5A, 0x00, "operator request or state change input (unspecified)"},
    {0x5A, 0x01, "operator medium removal request"},
    {0x5A, 0x02, "operator selected write protect"},
    {0x5A, 0x03, "operator selected write permit"},
    {0x5B, 0x00, "log exception"},
    {0x5B, 0x01, "threshold condition met"},
    {0x5B, 0x02, "log counter at maximum"},
    {0x5B, 0x03, "log list codes exhausted"},
    {0x5C, 0x00, "RPL status change"},
    {0x5C, 0x01, "spindles synchronized"},
    {0x5C, 0x02, "spindles not synchronized"},
    {0x5D, 0x00, "failure prediction threshold exceeded"},
    {0x5D, 0x01, "media failure prediction threshold exceeded"},
    {0x5D, 0x02, "logical unit failure prediction threshold exceeded"},
    {0x5D, 0x10, "hardware impending failure general hard drive failure"},
    {0x5D, 0x11, "hardware impending failure drive error rate too high"},
    {0x5D, 0x12, "hardware impending failure data error rate too high"},
    {0x5D, 0x13, "hardware impending failure seek error rate too high"},
    {0x5D, 0x14, "hardware impending failure too many block reassigns"},
    {0x5D, 0x15, "hardware impending failure access times too high"},
    {0x5D, 0x16, "hardware impending failure start unit times too high"},
    {0x5D, 0x17, "hardware impending failure channel parametrics"},
    {0x5D, 0x18, "hardware impending failure controller detected"},
    {0x5D, 0x19, "hardware impending failure throughput performance"},
    {0x5D, 0x1A, "hardware impending failure seek time performance"},
    {0x5D, 0x1B, "hardware impending failure spin-up retry count"},
    {0x5D, 0x1C, "hardware impending failure drive calibration retry count"},
    {0x5D, 0x20, "controller impending failure general hard drive failure"},
    {0x5D, 0x21, "controller impending failure drive error rate too high"},
    {0x5D, 0x22, "controller impending failure data error rate too high"},
    {0x5D, 0x23, "controller impending failure seek error rate too high"},
    {0x5D, 0x24, "controller impending failure too many block reassigns"},
    {0x5D, 0x25, "controller impending failure access times too high"},
    {0x5D, 0x26, "controller impending failure start unit times too high"},
    {0x5D, 0x27, "controller impending failure channel parametrics"},
    {0x5D, 0x28, "controller impending failure controller detected"},
    {0x5D, 0x29, "controller impending failure throughput performance"},
    {0x5D, 0x2A, "controller impending failure seek time performance"},
    {0x5D, 0x2B, "controller impending failure spin-up retry count"},
    {0x5D, 0x2C, "controller impending failure drive calibration retry count"},
    {0x5D, 0x30, "data channel impending failure general hard drive failure"},
    {0x5D, 0x31, "data channel impending failure drive error rate too high"},
    {0x5D, 0x32, "data channel impending failure data error rate too high"},
    {0x5D, 0x33, "data channel impending failure seek error rate too high"},
    {0x5D, 0x34, "data channel impending failure too many block reassigns"},
    {0x5D, 0x35, "data channel impending failure access times too high"},
    {0x5D, 0x36, "data channel impending failure start unit times too high"},
    {0x5D, 0x37, "data channel impending failure channel parametrics"},
    {0x5D, 0x38, "data channel impending failure controller detected"},
    {0x5D, 0x39, "data channel impending failure throughput performance"},
    {0x5D, 0x3A, "data channel impending failure seek time performance"},
    {0x5D, 0x3B, "data channel impending failure spin-up retry count"},
    {0x5D, 0x3C, "data channel impending failure drive calibration retry count"},
    {0x5D, 0x40, "servo impending failure general hard drive failure"},
    {0x5D, 0x41, "servo impending failure drive error rate too high"},
    {0x5D, 0x42, "servo impending failure data error rate too high"},
    {0x5D, 0x43, "servo impending failure seek error rate too high"},
    {0x5D, 0x44, "servo impending failure too many block reassigns"},
    {0x5D, 0x45, "servo impending failure access times too high"},
    {0x5D, 0x46, "servo impending failure start unit times too high"},
    {0x5D, 0x47, "servo impending failure channel parametrics"},
    {0x5D, 0x48, "servo impending failure controller detected"},
    {0x5D, 0x49, "servo impending failure throughput performance"},
    {0x5D, 0x4A, "servo impending failure seek time performance"},
    {0x5D, 0x4B, "servo impending failure spin-up retry count"},
    {0x5D, 0x4C, "servo impending failure drive calibration retry count"},
    {0x5D, 0x50, "spindle impending failure general hard drive failure"},
    {0x5D, 0x51, "spindle impending failure drive error rate too high"},
    {0x5D, 0x52, "spindle impending failure data error rate too high"},
    {0x5D, 0x53, "spindle impending failure seek error rate too high"},
    {0x5D, 0x54, "spindle impending failure too many block reassigns"},
    {0x5D, 0x55, "spindle impending failure access times too high"},
    {0x5D, 0x56, "spindle impending failure start unit times too high"},
    {0x5D, 0x57, "spindle impending failure channel parametrics"},
    {0x5D, 0x58, "spindle impending failure controller detected"},
    {0x5D, 0x59, "spindle impending failure throughput performance"},
    {0x5D, 0x5A, "spindle impending failure seek time performance"},
    {0x5D, 0x5B, "spindle impending failure spin-up retry count"},
    {0x5D, 0x5C, "spindle impending failure drive calibration retry count"},
    {0x5D, 0x60, "firmware impending failure general hard drive failure"},
    {0x5D, 0x61, "firmware impending failure drive error rate too high"},
    {0x5D, 0x62, "firmware impending failure data error rate too high"},
    {0x5D, 0x63, "firmware impending failure seek error rate too high"},
    {0x5D, 0x64, "firmware impending failure too many block reassigns"},
    {0x5D, 0x65, "firmware impending failure access times too high"},
    {0x5D, 0x66, "firmware impending failure start unit times too high"},
    {0x5D, 0x67, "firmware impending failure channel parametrics"},
    {0x5D, 0x68, "firmware impending failure controller detected"},
    {0x5D, 0x69, "firmware impending failure throughput performance"},
    {0x5D, 0x6A, "firmware impending failure seek time performance"},
    {0x5D, 0x6B, "firmware impending failure spin-up retry count"},
    {0x5D, 0x6C, "firmware impending failure drive calibration retry count"},
    {0x5D, 0xFF, "failure prediction threshold exceeded (FALSE)"},
    {0x5E, 0x00, "low power condition active"},
    {0x5E, 0x01, "idle condition activated by timer"},
    {0x5E, 0x02, "standby condition activated by timer"},
    {0x5E, 0x03, "idle condition activated by command"},
    {0x5E, 0x04, "standby condition activated by command"},
    {0x5E, 0x41, "power state change to active"},
    {0x5E, 0x42, "power state change to idle"},
    {0x5E, 0x43, "power state change to standby"},
    {0x5E, 0x45, "power state change to sleep"},
    {0x5E, 0x47, "power state change to device control"},
    {0x60, 0x00, "lamp failure"},
    {0x61, 0x00, "video acquisition error"},
    {0x61, 0x01, "unable to acquire video"},
    {0x61, 0x02, "out of focus"},
    {0x62, 0x00, "scan head positioning error"},
    {0x63, 0x00, "end of user area encountered on this track"},
    {0x63, 0x01, "packet does not fit in available space"},
    {0x64, 0x00, "illegal mode for this track"},
    {0x64, 0x01, "invalid packet size"},
    {0x65, 0x00, "voltage fault"},
    {0x66, 0x00, "automatic document feeder cover up"},
    {0x66, 0x01, "automatic document feeder lift up"},
    {0x66, 0x02, "document jam in automatic document feeder"},
    {0x66, 0x03, "document miss feed in automatic document feeder"},
    {0x67, 0x00, "configuration failure"},
    {0x67, 0x01, "configuration of incapable logical units failed"},
    {0x67, 0x02, "add logical unit failed"},
    {0x67, 0x03, "modification of logical unit failed"},
    {0x67, 0x04, "exchange of logical unit failed"},
    {0x67, 0x05, "remove of logical unit failed"},
    {0x67, 0x06, "attachment of logical unit failed"},
    {0x67, 0x07, "creation of logical unit failed"},
    {0x67, 0x08, "assign failure occurred"},
    {0x67, 0x09, "multiply assigned logical unit"},
    {0x68, 0x00, "logical unit not configured"},
    {0x69, 0x00, "data loss on logical unit"},
    {0x69, 0x01, "multiple logical unit failures"},
    {0x69, 0x02, "parity/data mismatch"},
    {0x6A, 0x00, "informational, refer to log"},
    {0x6B, 0x00, "state change has occurred"},
    {0x6B, 0x01, "redundancy level got better"},
    {0x6B, 0x02, "redundancy level got worse"},
    {0x6C, 0x00, "rebuild failure occurred"},
    {0x6D, 0x00, "recalculate failure occurred"},
    {0x6E, 0x00, "command to logical unit failed"},
    {0x6F, 0x00, "copy protection key exchange failure - authentication failure"},
    {0x6F, 0x01, "copy protection key exchange failure - key not present"},
    {0x6F, 0x02, "copy protection key exchange failure - key not established"},
    {0x6F, 0x03, "read of scrambled sector without authentication"},
    {0x6F, 0x04, "media region code is mismatched to logical unit region"},
    {0x6F, 0x05, "drive region must be permanent/region reset count error"},
    {0x70, 0x00, "decompression exception short algorithm ID of NN"},
    {0x70, 0xFF, "decompression exception short algorithm ID of NN"},
    {0x71, 0x00, "decompression exception long algorithm ID"},
    {0x72, 0x00, "session fixation error"},
    {0x72, 0x01, "session fixation error writing lead-in"},
    {0x72, 0x02, "session fixation error writing lead-out"},
    {0x72, 0x03, "session fixation error - incomplete track in session"},
    {0x72, 0x04, "empty of partially written reserved track"},
    {0x73, 0x00, "CD control error"},
    {0x73, 0x01, "power calibration area almost full"},
    {0x73, 0x02, "power calibration area is full"},
    {0x73, 0x03, "power calibration area error"},
    {0x73, 0x04, "program memory area update failure"},
    {0x73, 0x05, "program memory area is full"},
    {0x73, 0x06, "RMA/PMA is full"},
    {0x80, 0x00, "drive killed - write recovery failed"},
    {0x80, 0x01, "drive killed - scsi bus reset failed"},
    {0x80, 0x02, "drive killed - double check condition"},
    {0x80, 0x03, "drive killed - it was removed"},
    {0x80, 0x04, "drive killed - gross error on siop"},
    {0x80, 0x05, "drive killed - bad tag from drive"},
    {0x80, 0x06, "drive killed - scsi timeout"},
    {0x80, 0x07, "drive killed - reset from system"},
    {0x80, 0x08, "drive killed - busy or parity count hi"},
    {0x80, 0x09, "drive killed - by system command"},
    {0x80, 0x0A, "drive killed - selection timeout"},
    {0x80, 0x0B, "drive killed - sequence error"},
    {0x80, 0x0C, "drive killed - unknown status"},
};

namespace {

constexpr unsigned int SenseCode(const SenseRow& row) {
    return static_cast<unsigned int>(row.asc) << 8 | row.ascq;
}

constexpr bool KeysMatchRowNumbers() {
    for (size_t i = 0; i < kSenseKeyRowCount; ++i)
        if (kSenseKeyRows[i].key != i)
            return false;
    return true;
}

constexpr bool CodesStrictlyAscending() {
    for (size_t i = 1; i < kSenseRowCount; ++i)
        if (SenseCode(kSenseRows[i - 1]) >= SenseCode(kSenseRows[i]))
            return false;
    return true;
}

// The lookup goes through a two-level index: per ASC a run of slots, one for
// every ASCQ from 0 to the highest that ASC has in the table, each holding
// the first row with that pair or -1. Slot 0 is a shared -1 that every pair
// outside a run lands on. The run of 5D (up to FF) makes up most of the
// slots; a full index over all 65 536 pairs would need 128 KB.
constexpr size_t kAscCount = 256;

constexpr size_t SenseSlotCount() {
    int highest[kAscCount] = {};
    for (int& h : highest)
        h = -1;
    for (const SenseRow& row : kSenseRows)
        if (row.ascq > highest[row.asc])
            highest[row.asc] = row.ascq;
    size_t slots = 1;
    for (const int h : highest)
        slots += static_cast<size_t>(h + 1);
    return slots;
}

constexpr size_t kSenseSlotCount = SenseSlotCount();

struct AscRun {
    unsigned short first; // slot of ASCQ 0
    unsigned short span;  // ASCQs 0..span-1 have a slot
};

struct SenseIndex {
    AscRun run[kAscCount];
    short row[kSenseSlotCount];
    unsigned char length[kSenseRowCount]; // of each row's text
    int duplicates;                       // rows whose pair an earlier row has
    int overlong;                         // texts too long for their length
};

constexpr SenseIndex BuildSenseIndex() {
    SenseIndex index{};
    for (const SenseRow& row : kSenseRows)
        if (row.ascq + 1u > index.run[row.asc].span)
            index.run[row.asc].span = static_cast<unsigned short>(row.ascq + 1u);
    unsigned short next = 1;
    for (AscRun& run : index.run) {
        run.first = next;
        next = static_cast<unsigned short>(next + run.span);
    }
    for (short& r : index.row)
        r = -1;
    for (size_t i = 0; i < kSenseRowCount; ++i) {
        const SenseRow& row = kSenseRows[i];
        short& slot = index.row[index.run[row.asc].first + row.ascq];
        if (slot >= 0)
            ++index.duplicates;
        else
            slot = static_cast<short>(i);
        const size_t length = Detail::TextLength(row.text);
        if (length > 255)
            ++index.overlong;
        index.length[i] = static_cast<unsigned char>(length);
    }
    return index;
}

constexpr SenseIndex kSenseIndex = BuildSenseIndex();

constexpr int IndexedRow(unsigned char asc, unsigned char ascq) {
    const AscRun run = kSenseIndex.run[asc];
    return kSenseIndex.row[ascq < run.span ? run.first + ascq : 0];
}

// A first-match scan of the rows, for checking the index against.
constexpr int ScannedRow(unsigned char asc, unsigned char ascq) {
    for (size_t i = 0; i < kSenseRowCount; ++i)
        if (kSenseRows[i].asc == asc && kSenseRows[i].ascq == ascq)
            return static_cast<int>(i);
    return -1;
}

constexpr bool IndexFindsEveryRow() {
    for (const SenseRow& row : kSenseRows)
        if (IndexedRow(row.asc, row.ascq) != ScannedRow(row.asc, row.ascq))
            return false;
    return true;
}

// Together with IndexFindsEveryRow this covers all 65 536 pairs: a pair
// outside every run lands on slot 0, and a slot inside a run may hold only a
// row with its own pair.
constexpr bool SlotsHoldOnlyTheirPair() {
    if (kSenseIndex.row[0] != -1)
        return false;
    for (size_t asc = 0; asc < kAscCount; ++asc) {
        const AscRun run = kSenseIndex.run[asc];
        for (unsigned int ascq = 0; ascq < run.span; ++ascq) {
            const int row = kSenseIndex.row[run.first + ascq];
            if (row >= 0 && (kSenseRows[row].asc != asc || kSenseRows[row].ascq != ascq))
                return false;
        }
    }
    return true;
}

static_assert(KeysMatchRowNumbers(), "sense key rows are indexed by key");
static_assert(CodesStrictlyAscending(), "sense rows ascend by (ASC, ASCQ) without repeats");
static_assert(kSenseRowCount < 32768, "row numbers are held as short");
static_assert(kSenseSlotCount <= 65536, "slot numbers are held as unsigned short");
static_assert(kSenseIndex.duplicates == 0, "every pair has one row");
static_assert(kSenseIndex.overlong == 0, "every text length fits its byte");
static_assert(IndexFindsEveryRow(), "the index gives the row a first-match scan gives");
static_assert(SlotsHoldOnlyTheirPair(), "the index finds no pair the rows lack");

} // namespace

Detail::FoundText FindSenseText(unsigned char asc, unsigned char ascq) noexcept {
    const int row = IndexedRow(asc, ascq);
    if (row < 0)
        return {nullptr, 0};
    return {kSenseRows[row].text, kSenseIndex.length[row]};
}

const SenseKeyRow* SenseKeyRows(size_t& count) {
    count = kSenseKeyRowCount;
    return kSenseKeyRows;
}

const SenseRow* SenseRows(size_t& count) {
    count = kSenseRowCount;
    return kSenseRows;
}

} // namespace PI
