// Ranks the pages that the search finds: a page counts for each word that it has, the more the fewer pages
// have the word, and for the heading that has most of the words together. No word is required, since a line
// of the log also holds names that no page knows.

Search.performTermsSearch = (words) => {
  const { docnames, titles, filenames, terms, titleterms, alltitles } = Search._index;
  const pagesOf = (index, word) => (Object.hasOwn(index, word) ? [index[word]].flat() : []);
  const weight = (index, word) => Math.log(1 + docnames.length / pagesOf(index, word).length);
  const scores = new Array(docnames.length).fill(0);
  for (const index of [terms, titleterms])
    for (const word of words)
      for (const page of pagesOf(index, word)) scores[page] += weight(index, word);

  const stemmer = new Stemmer();
  const together = new Array(docnames.length).fill(0);
  for (const [heading, places] of Object.entries(alltitles)) {
    const held = new Set(splitQuery(heading.toLowerCase()).map((word) => stemmer.stemWord(word)));
    const sum = [...words].filter((word) => held.has(word) && pagesOf(titleterms, word).length)
      .reduce((total, word) => total + weight(titleterms, word), 0);
    for (const [page] of places) together[page] = Math.max(together[page], sum);
  }
  const total = scores.map((score, page) => score + together[page] / 4);
  const least = Math.max(...total) / 2;
  return total.map((score, page) => [docnames[page], titles[page], "", null, score, filenames[page]])
    .filter((result) => result[4] > least);
};
