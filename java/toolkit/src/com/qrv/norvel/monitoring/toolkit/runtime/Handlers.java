package com.qrv.norvel.monitoring.toolkit.runtime;

/** What the application answers besides samples. */
final class Handlers {
  final Actions actions;
  final Pages pages;
  final Situations situations;

  Handlers(Actions actions, Pages pages, Situations situations) {
    this.actions = actions;
    this.pages = pages;
    this.situations = situations;
  }
}
