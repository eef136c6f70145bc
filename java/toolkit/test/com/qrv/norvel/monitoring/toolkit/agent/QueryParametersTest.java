package com.qrv.norvel.monitoring.toolkit.agent;

import static org.assertj.core.api.Assertions.assertThat;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class QueryParametersTest {
  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "a=b|b",
        "x=y&a=b|b",
        "a=b=c|b=c",
        "a=|''",
        "a|''",
        "&&a=b&|b",
        "a=b&a=c|b",
        "a=one+two%20three|one two three",
        "%61=%26%3D|&=",
        "a=%C3%A4%E4%B8%AD|\u00e4\u4e2d",
        "a=%F0%9F%98%80|\ud83d\ude00",
        "a=\u00e4|\u00e4",
        "a=%FF|\ufffd",
        "a=%C3|\ufffd",
        "a=100%|100%",
        "a=%4|%4",
        "a=%zz|%zz",
        "a=%-1|%-1",
        "b=a|",
      })
  void readsWhateverComes(String query, String value) {
    assertThat(QueryParameters.parse(query).get("a")).isEqualTo(value);
  }

  @Test
  void keepsAllValuesInTheirOrder() {
    QueryParameters parameters = QueryParameters.parse("b=1&a=2&b=3");

    assertThat(parameters.names()).containsExactly("b", "a");
    assertThat(parameters.all("b")).containsExactly("1", "3");
    assertThat(parameters.all("c")).isEmpty();
    assertThat(parameters.get("c", "other")).isEqualTo("other");
  }

  @Test
  void hasNoParametersWithoutAQuery() {
    assertThat(QueryParameters.parse("").names()).isEmpty();
    assertThat(QueryParameters.parse(null).names()).isEmpty();
  }

  @Test
  void readsNoMoreThanAThousand() {
    StringBuilder query = new StringBuilder();
    for (int i = 0; i < 1001; i++) {
      query.append("&p").append(i).append("=v");
    }

    QueryParameters parameters = QueryParameters.parse(query.toString());

    assertThat(parameters.names()).hasSize(1000);
    assertThat(parameters.get("p1000")).isNull();
  }
}
