package com.qrv.norvel.monitoring.toolkit.runtime;

import com.qrv.norvel.monitoring.toolkit.agent.Sampler;

/** A declared table with what fills it. */
final class SampledTable {
  final TableLayout layout;
  final Sampler sampler;

  SampledTable(TableLayout layout, Sampler sampler) {
    this.layout = layout;
    this.sampler = sampler;
  }
}
