// SPDX-License-Identifier: Apache-2.0
// Stands in for the theme's search worker, which a page that was opened from a folder may not start:
// the same messages, answered in the page from the index that search_index.js brought.
window.Worker = class {
  postMessage(message) {
    setTimeout(() => (message.init ? this.start() : this.answer(message.query)));
  }

  start() {
    const { config, docs } = window.searchIndex;
    this.documents = new Map(docs.map((doc) => [doc.location, doc]));
    this.index = window.lunr(function () {
      this.ref("location");
      this.field("title", { boost: 10 });
      this.field("text");
      docs.forEach((doc) => this.add(doc));
    });
    this.onmessage({ data: { config } });
    this.onmessage({ data: { allowSearch: true } });
  }

  answer(query) {
    let hits = [];
    try {
      hits = this.index.search(query);
    } catch (error) {
      // A query that is typed so far, such as "title:", may not be one yet.
    }
    const results = hits.map(({ ref }) => {
      const doc = this.documents.get(ref);
      return { ...doc, summary: doc.text.substring(0, 200) };
    });
    this.onmessage({ data: { results } });
  }
};
