// Where a value lies: in place, or in a counted box that is never changed.

namespace talvo {

namespace detail {

/// A box: the count, then the value at its alignment.
struct DataBox {
    static void* Allocate(std::size_t size, std::size_t alignment);
    static void Free(void* box, std::size_t alignment);
    static std::size_t GetOffset(std::size_t alignment) { return alignment < 8 ? 8 : alignment; }
    static void* GetValue(void* box, std::size_t alignment) { return static_cast<std::byte*>(box) + GetOffset(alignment); }
    static const void* GetValue(const void* box, std::size_t alignment) {
        return static_cast<const std::byte*>(box) + GetOffset(alignment);
    }
};

template <typename T>
Result<Data> ReadData(const DocumentValue& value) {
    T result = TRY(DataTraits<T>::FromDocument(value));
    return Data(std::move(result));
}

}  // namespace detail

inline const void* Data::GetMemory() const {
    if (!_type) return nullptr;
    return _type->fitsInline ? _inline : detail::DataBox::GetValue(static_cast<const void*>(_shared), _type->alignment);
}

template <typename T>
const T* Data::GetPtr() const {
    if constexpr (std::same_as<T, Data>) {
        return IsPopulated() ? this : nullptr;
    } else {
        return _type == talvo::GetDataType<T>() ? static_cast<const T*>(GetMemory()) : nullptr;
    }
}

template <typename T>
Result<T> Data::Get() const {
    if (const T* value = GetPtr<T>()) return T(*value);
    const Id& wanted = talvo::GetDataType<T>()->id;
    if constexpr (detail::IsStorable<T>) {
        if (const DocumentValue* unread = FindUnread(wanted)) return DataTraits<T>::FromDocument(*unread);
    }
    return MakeTypeError(wanted);
}

template <typename T, typename U>
void Data::Emplace(U&& value) {
    const DataType type = talvo::GetDataType<T>();
    if constexpr (detail::FITS_INLINE<T>) {
        new (static_cast<void*>(_inline)) T(std::forward<U>(value));
    } else {
        struct Guard {
            void* box;
            ~Guard() {
                if (box) detail::DataBox::Free(box, alignof(T));
            }
        } guard{detail::DataBox::Allocate(sizeof(T), alignof(T))};
        new (detail::DataBox::GetValue(guard.box, alignof(T))) T(std::forward<U>(value));
        _shared = std::exchange(guard.box, nullptr);
    }
    _type = type;
}

}  // namespace talvo
