package com.qrv.norvel.monitoring.toolkit.agent;

/** The kinds of content that a web response may have. */
public enum MediaType {
  BINARY("application/octet-stream"),
  TEXT("text/plain; charset=utf-8"),
  HTML("text/html; charset=utf-8"),
  XML("application/xml"),
  JSON("application/json"),
  CSS("text/css; charset=utf-8"),
  SCRIPT("text/javascript; charset=utf-8"),
  CSV("text/csv; charset=utf-8"),
  PNG("image/png"),
  SVG("image/svg+xml");

  private final String contentType;

  MediaType(String contentType) {
    this.contentType = contentType;
  }

  /** The number that stands for this type in a reply: its place in the native side's table. */
  public int number() {
    return ordinal();
  }

  /** What the browser is told. */
  public String contentType() {
    return contentType;
  }
}
