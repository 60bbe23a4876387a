//! System Search for Rust: owning handles and an iterator over the C functions.
//!
//! What each function promises is written in system_search.h.
use std::ffi::{CStr, CString};
use std::os::raw::c_char;
use std::ptr::NonNull;

mod c {
    use std::os::raw::c_char;

    #[repr(C)]
    pub struct Engine {
        _opaque: [u8; 0],
    }
    #[repr(C)]
    pub struct Query {
        _opaque: [u8; 0],
    }
    #[repr(C)]
    #[derive(Default)]
    pub struct EngineStatus {
        pub state: u32,
        pub entries: u32,
        pub skipped: u32,
        pub limited: u32,
        pub from_cache: u32,
    }
    #[repr(C)]
    #[derive(Default)]
    pub struct QueryStatus {
        pub state: u32,
        pub matched: u32,
        pub count: u32,
        pub index_entries: u32,
        pub index_incomplete: u32,
    }
    #[repr(C)]
    #[derive(Default)]
    pub struct ResultMetadata {
        pub size: u64,
        pub modified: i64,
        pub flags: u32,
        pub reserved: u32,
    }

    #[link(name = "system_search")]
    extern "C" {
        pub fn ss_create() -> *mut Engine;
        pub fn ss_start(
            engine: *mut Engine,
            scope: *const c_char,
            cache_path: *const c_char,
            force: i32,
        ) -> i32;
        pub fn ss_status(engine: *mut Engine, out: *mut EngineStatus);
        pub fn ss_error(engine: *mut Engine) -> *const c_char;
        pub fn ss_destroy(engine: *mut Engine);
        pub fn ss_query(
            engine: *mut Engine,
            text: *const c_char,
            flags: u32,
            kind: u32,
            limit: i32,
        ) -> *mut Query;
        pub fn ss_query_directory(
            directory: *const c_char,
            text: *const c_char,
            flags: u32,
            kind: u32,
            limit: u32,
        ) -> *mut Query;
        pub fn ss_query_poll(query: *mut Query, out: *mut QueryStatus);
        pub fn ss_query_path(query: *mut Query, index: u32) -> *const c_char;
        pub fn ss_query_kind(query: *mut Query, index: u32) -> u32;
        pub fn ss_query_metadata(query: *mut Query, index: u32, out: *mut ResultMetadata) -> i32;
        pub fn ss_query_destroy(query: *mut Query);
    }
}

const KIND_ANY: u32 = 0;
const KIND_FOLDER: u32 = 2;
const METADATA_SIZE: u32 = 1;
const METADATA_MODIFIED: u32 = 2;
const MAX_RESULTS: u32 = 1000;

#[derive(Clone, Copy, PartialEq, Eq)]
pub enum EngineState {
    Idle,
    Running,
    Ready,
    Cancelled,
    Failed,
}

pub struct Progress {
    pub state: EngineState,
    pub entries: u32,
    pub skipped: u32,
}

/// An index and the build that fills it. Dropping it cancels the build and waits for its thread.
pub struct Engine(NonNull<c::Engine>);

// Any thread may call; starting, which may not meet another start, needs the only reference.
unsafe impl Send for Engine {}
unsafe impl Sync for Engine {}

impl Engine {
    pub fn new() -> Option<Engine> {
        NonNull::new(unsafe { c::ss_create() }).map(Engine)
    }

    pub fn start(&mut self, scope: &str, cache_path: &str, force: bool) -> bool {
        match (CString::new(scope), CString::new(cache_path)) {
            (Ok(scope), Ok(cache)) => unsafe {
                c::ss_start(self.0.as_ptr(), scope.as_ptr(), cache.as_ptr(), force.into()) != 0
            },
            _ => false,
        }
    }

    pub fn progress(&self) -> Progress {
        let mut status = c::EngineStatus::default();
        unsafe { c::ss_status(self.0.as_ptr(), &mut status) };
        Progress {
            state: match status.state {
                0 => EngineState::Idle,
                1 => EngineState::Running,
                2 => EngineState::Ready,
                3 => EngineState::Cancelled,
                _ => EngineState::Failed,
            },
            entries: status.entries,
            skipped: status.skipped,
        }
    }

    pub fn error(&self) -> String {
        text(unsafe { c::ss_error(self.0.as_ptr()) }).to_owned()
    }

    pub fn search(&self, text: &str) -> Option<Query> {
        let text = CString::new(text).ok()?;
        let limit = MAX_RESULTS as i32;
        NonNull::new(unsafe { c::ss_query(self.0.as_ptr(), text.as_ptr(), 0, KIND_ANY, limit) })
            .map(Query)
    }
}

impl Drop for Engine {
    fn drop(&mut self) {
        unsafe { c::ss_destroy(self.0.as_ptr()) }
    }
}

pub fn list_folder(folder: &str, text: &str) -> Option<Query> {
    let (folder, text) = (CString::new(folder).ok()?, CString::new(text).ok()?);
    NonNull::new(unsafe {
        c::ss_query_directory(folder.as_ptr(), text.as_ptr(), 0, KIND_ANY, MAX_RESULTS)
    })
    .map(Query)
}

#[derive(Clone, Copy, PartialEq, Eq)]
pub enum QueryState {
    Running,
    Done,
    Failed,
}

pub struct Outcome {
    pub state: QueryState,
    pub matched: u32,
    pub count: u32,
    pub index_entries: u32,
    pub index_incomplete: bool,
}

#[derive(Clone, Copy, PartialEq, Eq)]
pub enum Kind {
    File,
    Folder,
}

/// One result; its path lives as long as the query.
pub struct Found<'query> {
    pub path: &'query str,
    pub kind: Kind,
    pub size: Option<u64>,
    pub modified: Option<i64>,
}

/// A running or finished search. Dropping it cancels it and waits for its thread.
pub struct Query(NonNull<c::Query>);

unsafe impl Send for Query {}
unsafe impl Sync for Query {}

impl Query {
    pub fn poll(&self) -> Outcome {
        let mut status = c::QueryStatus::default();
        unsafe { c::ss_query_poll(self.0.as_ptr(), &mut status) };
        Outcome {
            state: match status.state {
                0 => QueryState::Running,
                1 => QueryState::Done,
                _ => QueryState::Failed,
            },
            matched: status.matched,
            count: status.count,
            index_entries: status.index_entries,
            index_incomplete: status.index_incomplete != 0,
        }
    }

    /// The results in order; none before the query is done.
    pub fn results(&self) -> impl Iterator<Item = Found<'_>> {
        (0..self.poll().count).map(move |index| self.result(index))
    }

    fn result(&self, index: u32) -> Found<'_> {
        let handle = self.0.as_ptr();
        let mut metadata = c::ResultMetadata::default();
        unsafe { c::ss_query_metadata(handle, index, &mut metadata) };
        Found {
            path: text(unsafe { c::ss_query_path(handle, index) }),
            kind: if unsafe { c::ss_query_kind(handle, index) } == KIND_FOLDER {
                Kind::Folder
            } else {
                Kind::File
            },
            size: (metadata.flags & METADATA_SIZE != 0).then_some(metadata.size),
            modified: (metadata.flags & METADATA_MODIFIED != 0).then_some(metadata.modified),
        }
    }
}

impl Drop for Query {
    fn drop(&mut self) {
        unsafe { c::ss_query_destroy(self.0.as_ptr()) }
    }
}

/// A text of the library, which is valid UTF-8; "" for null. The caller binds its lifetime.
fn text<'library>(text: *const c_char) -> &'library str {
    if text.is_null() {
        return "";
    }
    unsafe { CStr::from_ptr(text) }.to_str().unwrap_or("")
}
