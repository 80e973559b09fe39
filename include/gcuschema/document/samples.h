#ifndef GCUSCHEMA_DOCUMENT_SAMPLES_H
#define GCUSCHEMA_DOCUMENT_SAMPLES_H

#include <cstdint>
#include <memory>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// Deterministic, realistic documents of any size: the same options give the
// same bytes on every machine and every run.
struct SampleOptions {
  int inputs = 24;        // outputs, maps, buses and estimators follow in proportion
  std::uint64_t seed = 1;
};

// A configuration document: inputs and outputs of every paired type with
// valid settings encoded in `config` under their type codes, maps holding
// Map3D tables (and inputs with Map3D linearizations), CAN buses with frames,
// handlers and routers (counts equal to their lists), estimators, units,
// unique identifiers and references that resolve.
//
// For n inputs (n <= 0 gives a document with identity and units only):
// n / 2 outputs, max(1, n / 8) maps, max(2, n / 100) buses routed in a
// ring, max(1, n / 50) estimators, max(1, n / 64) drivers; about half the
// ADC inputs have a linearization. The first 16 inputs and the first 10
// outputs take one paired type each, so from 20 inputs on every paired type
// is present; later ones are drawn with realistic weights. Identifiers
// count from 1; computed inputs read inputs placed before them. Tables
// hold their values row by row (one row per y breakpoint).
GCUSCHEMA_DOCUMENT_API void SampleConfig(const SampleOptions& options, ConfigData* out);

// A device data image whose `config` holds SampleConfig(options), with
// adaptation blocks.
GCUSCHEMA_DOCUMENT_API void SampleDeviceData(const SampleOptions& options, DeviceData* out);

// A hardware calibration with every list filled and counts matching
// (n / 4 ADC, n / 16 DAC, n / 12 frequency, n / 8 digital in and out,
// n / 6 PWM, max(2, n / 100) CAN and n / 32 QEI channels, at least one each).
GCUSCHEMA_DOCUMENT_API void SampleCalibration(const SampleOptions& options, CalibrationData* out);

// Its limits template.
GCUSCHEMA_DOCUMENT_API void SampleCalibrationTemplate(const SampleOptions& options,
                                                 CalibrationTemplateData* out);

// Any record by type: the four above for their types; for other records of
// the library a record with every field set. Returns null for a type that
// is not a record of the library.
GCUSCHEMA_DOCUMENT_API std::unique_ptr<google::protobuf::Message> Sample(
    const google::protobuf::Descriptor* type, const SampleOptions& options);

}  // namespace gcuschema::document

#endif
