using System;
using System.Collections;
using System.Collections.Generic;

namespace SystemSearch
{
    /// <summary>One file or folder that a query found.</summary>
    public sealed class SearchResult
    {
        internal SearchResult(string path, EntryKind kind, long? size, DateTimeOffset? modified)
        {
            Path = path;
            Kind = kind;
            Size = size;
            Modified = modified;
        }

        /// <summary>The absolute path, with "/" between its elements.</summary>
        public string Path { get; }

        /// <summary>Whether it is a file or a folder.</summary>
        public EntryKind Kind { get; }

        /// <summary>The size in bytes; null for folders and links, and when it is not known.</summary>
        public long? Size { get; }

        /// <summary>The last write, in UTC; null when it is not known, or after the year 9999.</summary>
        public DateTimeOffset? Modified { get; }

        /// <summary>The path.</summary>
        public override string ToString() => Path;
    }

    /// <summary>The results of one query, ordered by path. They are copies, which never change and hold
    /// nothing that has to be freed.</summary>
    public sealed class SearchResults : IReadOnlyList<SearchResult>
    {
        private const uint SizeKnown = 1;
        private const uint ModifiedKnown = 2;
        private const long FirstSecond = -62135596800;  // of the year 1
        private const long LastSecond = 253402300799;   // of the year 9999

        private readonly SearchResult[] items;

        internal SearchResults(QueryHandle query, QueryStatus outcome)
        {
            items = new SearchResult[outcome.Count];
            for (uint index = 0; index < outcome.Count; ++index) items[index] = Read(query, index);
            Matched = (int)outcome.Matched;
            Searched = (int)outcome.IndexEntries;
            IsIncomplete = outcome.IndexIncomplete != 0;
        }

        /// <summary>How many entries matched, however many results were asked for.</summary>
        public int Matched { get; }

        /// <summary>How many entries were searched.</summary>
        public int Searched { get; }

        /// <summary>What was searched is known not to be the whole.</summary>
        public bool IsIncomplete { get; }

        /// <summary>How many results there are.</summary>
        public int Count => items.Length;

        /// <summary>The result at a position.</summary>
        public SearchResult this[int index] => items[index];

        /// <summary>The results in their order.</summary>
        public IEnumerator<SearchResult> GetEnumerator() => ((IEnumerable<SearchResult>)items).GetEnumerator();

        IEnumerator IEnumerable.GetEnumerator() => items.GetEnumerator();

        private static SearchResult Read(QueryHandle query, uint index)
        {
            NativeMethods.ss_query_metadata(query, index, out ResultMetadata metadata);
            return new SearchResult(
                Utf8.Copy(NativeMethods.ss_query_path(query, index)),
                (EntryKind)NativeMethods.ss_query_kind(query, index),
                (metadata.Flags & SizeKnown) != 0 ? (long?)metadata.Size : null,
                (metadata.Flags & ModifiedKnown) != 0 ? Time(metadata.Modified) : null);
        }

        private static DateTimeOffset? Time(long seconds)
        {
            if (seconds < FirstSecond || seconds > LastSecond) return null;
            return DateTimeOffset.FromUnixTimeSeconds(seconds);
        }
    }
}
