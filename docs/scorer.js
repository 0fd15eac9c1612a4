// Ranks the pages that the search finds: a page counts for each word that it has, the more the fewer pages
// have the word, and for the heading that has most of the words together, its title above all. No word is
// required, since a line of the log also holds names that no page knows. A result leads to the heading that
// has half of the words.

Search.performObjectSearch = () => []; // the reference has a heading for each operation

Search.performTermsSearch = (words) => {
  const { docnames, titles, filenames, terms, titleterms, alltitles } = Search._index;
  const pagesOf = (index, word) => (Object.hasOwn(index, word) ? [index[word]].flat() : []);
  const weight = (index, word) => Math.log(1 + docnames.length / pagesOf(index, word).length);
  const scores = new Array(docnames.length).fill(0);
  for (const index of [terms, titleterms])
    for (const word of words)
      for (const page of pagesOf(index, word)) scores[page] += weight(index, word);

  const stemmer = new Stemmer();
  const known = [...words].filter((word) => pagesOf(terms, word).length || pagesOf(titleterms, word).length);
  const best = titles.map((heading) => ({ heading, worth: 0, anchor: "" }));
  for (const [heading, places] of Object.entries(alltitles)) {
    const held = new Set(splitQuery(heading.toLowerCase()).map((word) => stemmer.stemWord(word)));
    const shared = known.filter((word) => held.has(word) && pagesOf(titleterms, word).length);
    const sum = shared.reduce((total, word) => total + weight(titleterms, word), 0);
    for (const [page, id] of places) {
      const isTitle = heading === titles[page];
      const worth = sum / (isTitle ? 2 : 4);
      const anchor = isTitle || shared.length < known.length / 2 ? "" : `#${id}`;
      if (worth > best[page].worth) best[page] = { heading, worth, anchor };
    }
  }
  const results = best.map(({ heading, worth, anchor }, page) => [docnames[page],
    anchor ? `${titles[page]} > ${heading}` : titles[page], anchor, null, scores[page] + worth, filenames[page]]);
  const least = Math.max(...results.map((result) => result[4])) * 2 / 5;
  return results.filter((result) => result[4] > least);
};
